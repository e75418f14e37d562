// Whatever a file holds, the tool reads it or says what is wrong; and the case that a log is rebuilt into can be read.

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "capture/CaseFile.h"
#include "replay/Rebuild.h"

using namespace replay;

static std::string printed(const Case& theCase) {
    std::ostringstream text;
    printHead(text, theCase);
    for (const Request& request : theCase.requests) printRequest(text, valueOf(request));
    return text.str();
}

// A printed case that can't be read ends the process with what is wrong.
static std::string reprinted(const std::string& text) noexcept { return printed(readCase("printed", text)); }

static void readLog(InputFile& log) {
    RequestCollector collector([](const LoggedRequest& logged) {
        const Finding rebuilt = rebuild(logged);
        if (!rebuilt.canServe()) return;
        Case theCase = rebuilt.platform;
        theCase.requests = {rebuilt.request};
        reprinted(printed(theCase));
    });
    while (const auto line = log.next()) {
        if (auto logged = selectorLine(*line)) collector.add(std::move(*logged));
    }
    collector.finish();
}

static void readCaseFile(const std::string& text) {
    const Case theCase = readCase("case", text);
    if (theCase.requests.empty()) return;
    const std::string made = printed(theCase);
    if (reprinted(made) == made) return;
    std::fprintf(stderr, "broken promise: a printed case reads as the same\n%s\n", made.c_str());
    std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const int file = memfd_create("input", 0);
    if (write(file, data, size) != static_cast<ssize_t>(size) || lseek(file, 0, SEEK_SET) != 0) std::abort();
    try {
        InputFile input("/proc/self/fd/" + std::to_string(file));
        if (input.looksLikeLog()) {
            readLog(input);
        } else {
            readCaseFile(input.readAll());
        }
    } catch (const InputError&) {
        // what is wrong with it
    }
    close(file);
    return 0;
}
