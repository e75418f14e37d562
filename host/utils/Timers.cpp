#include <utils/Timers.h>

#include <ctime>

#include "desk/Clock.h"

namespace {

std::optional<int64_t> gBoottime;

}  // namespace

void desk::setBoottime(std::optional<int64_t> ns) { gBoottime = ns; }

nsecs_t systemTime(int clock) {
    if (clock == SYSTEM_TIME_BOOTTIME && gBoottime) return *gBoottime;
    static const clockid_t kClocks[] = {CLOCK_REALTIME, CLOCK_MONOTONIC, CLOCK_PROCESS_CPUTIME_ID,
                                        CLOCK_THREAD_CPUTIME_ID, CLOCK_BOOTTIME};
    if (clock < SYSTEM_TIME_REALTIME || clock > SYSTEM_TIME_BOOTTIME) return 0;
    timespec now{};
    clock_gettime(kClocks[clock], &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}
