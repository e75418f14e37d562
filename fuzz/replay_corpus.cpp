// Feeds files to a fuzz target once, in builds without the fuzzer.

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        std::ifstream file(argv[i], std::ios::binary);
        const std::string text((std::istreambuf_iterator<char>(file)), {});
        std::printf("%s: %zu bytes\n", argv[i], text.size());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    }
    return argc > 1 ? 0 : 1;
}
