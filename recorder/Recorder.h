// A plug-in that stands before the real one. It opens it, calls its entry, and hands the core what that made: the real
// selectors themselves or, where a property names a folder, selectors that pass every call on and write each request as
// a case file there.

#pragma once

#include <atomic>
#include <exception>

#include "api/ZSLSelectorBase.h"

namespace recorder {

using Selectors = std::vector<std::shared_ptr<zohal::ZSLSelectorBase>>;
using Entry = void(Selectors&);
using Library = std::unique_ptr<void, int (*)(void*)>;  // open for as long as it is kept

// What the process has one of. Every selector shares it, since the core may release selectors after the static object
// that opened the real plug-in is gone.
struct Recorder {
    // Does some of the recorder's own work. Whatever that throws ends the recording for good, with one line in the log:
    // a phone that can't record must go on taking pictures.
    template <typename Work>
    void attempt(Work work) noexcept try {
        if (on) work();
    } catch (const std::exception& error) {
        stop(error.what());
    } catch (...) {
        stop("the core threw when it was asked for the rest");
    }
    void stop(const char* reason) noexcept;

    const Library library;  // the real plug-in
    Entry* const create;    // its entry
    const std::string folder;
    const std::string properties;  // what the real plug-in reads of them, as a case has it
    std::atomic<bool> on;
    std::atomic<uint32_t> files{0};  // made so far
};

// Reads the properties and opens the real plug-in, which reads its own at the same time. It lies beside the library
// that `entry` is of, or where a property says. Null, with a line in the log, when it can't be had.
std::shared_ptr<Recorder> openRecorder(Entry* entry) noexcept;

// Has the real plug-in append its selectors. Its exceptions pass, and then the list is unchanged.
void createSelectors(const std::shared_ptr<Recorder>& recorder, Selectors& selectors);

}  // namespace recorder
