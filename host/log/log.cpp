#include <android/log.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <utility>

#include "desk/LogSink.h"

namespace desk {

namespace {

constexpr size_t kMessageBytes = 1024;  // the device's buffer, the terminating zero included

std::function<void(const LogLine&)>& sink() {
    static std::function<void(const LogLine&)> current;
    return current;
}

// Asked for once a thread, as the C library does on a device; a fork's child asks again.
struct Ids {
    int process = getpid();
    int thread = static_cast<int>(syscall(SYS_gettid));
};
thread_local Ids tIds;
const int gRenewsAfterFork = pthread_atfork(nullptr, nullptr, [] { tIds = {}; });

char priorityLetter(int priority) {
    static const char kLetters[] = "??VDIWEF";
    return priority >= 0 && priority < 8 ? kLetters[priority] : '?';
}

}  // namespace

void setLogSink(std::function<void(const LogLine&)> newSink) { sink() = std::move(newSink); }

LogLine logLineNow(int priority, std::string tag, std::string message) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return {now.tv_sec * 1'000'000'000LL + now.tv_nsec,
            tIds.process,
            tIds.thread,
            priority,
            std::move(tag),
            std::move(message)};
}

std::string threadtime(const LogLine& line) {
    const time_t seconds = line.realtimeNs / 1'000'000'000;
    tm local{};
    localtime_r(&seconds, &local);
    char when[32];
    const size_t length = std::strftime(when, sizeof(when), "%m-%d %H:%M:%S", &local);
    std::snprintf(when + length, sizeof(when) - length, ".%03d", static_cast<int>(line.realtimeNs / 1'000'000 % 1000));
    char prefix[160];
    std::snprintf(prefix, sizeof(prefix), "%s %5d %5d %c %-8.80s: ", when, line.pid, line.tid,
                  priorityLetter(line.priority), line.tag.c_str());

    std::string text = prefix;
    for (const char c : line.message) {
        text += c;
        if (c == '\n') text += prefix;
    }
    return text;
}

}  // namespace desk

int __android_log_print(int priority, const char* tag, const char* format, ...) {
    char message[desk::kMessageBytes];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof(message), format, arguments);
    va_end(arguments);

    const desk::LogLine line = desk::logLineNow(priority, tag, message);
    if (desk::sink()) {
        desk::sink()(line);
    } else {
        std::fprintf(stderr, "%s\n", desk::threadtime(line).c_str());
    }
    return 1;
}
