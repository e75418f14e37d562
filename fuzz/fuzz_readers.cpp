// Whatever a file holds, the tool reads it or says what is wrong; and the case that a log is rebuilt into can be read.

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "capture/Document.h"
#include "report/CaseWriter.h"
#include "replay/LogRebuild.h"

using namespace replay;

static void readLog(const uint8_t* data, size_t size) {
    const int file = memfd_create("log", 0);
    if (write(file, data, size) != static_cast<ssize_t>(size)) std::abort();
    LineReader reader("/proc/self/fd/" + std::to_string(file));
    RequestCollector collector([](const LoggedRequest& logged) {
        const Rebuilt rebuilt = rebuild(logged);
        if (!rebuilt.obstacle.empty()) return;
        std::ostringstream text;
        CaseWriter(text, platformOf(rebuilt)).add(rebuilt.request, rebuilt.assumptions);
        try {
            readCase(parseDocument("rebuilt", text.str()));
        } catch (const InputError& error) {
            std::fprintf(stderr, "broken promise: a rebuilt case can be read\n%s\n%s\n", error.what(),
                         text.str().c_str());
            std::abort();
        }
    });
    while (const auto line = reader.next()) {
        if (auto logged = selectorLine(*line)) collector.add(std::move(*logged));
    }
    collector.finish();
    close(file);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(data, data + size);
    try {
        if (looksLikeLog(text)) {
            readLog(data, size);
        } else {
            readCase(parseDocument("case", text));
        }
    } catch (const InputError&) {
        // what is wrong with it
    }
    return 0;
}
