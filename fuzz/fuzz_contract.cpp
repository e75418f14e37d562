#include <cstdio>
#include <cstdlib>

#include "fuzz/HostileCore.h"

// The core itself checks what holds for every session. Here: the same input gives the same output, recorded or not.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (hostile::play(data, size) == hostile::play(data, size, hostile::Fault::kNone, true)) return 0;
    std::fputs("broken promise: the same input gives the same output, recorded or not\n", stderr);
    std::abort();
}
