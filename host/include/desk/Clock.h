// This desk's clock.

#pragma once

#include <cstdint>
#include <optional>

namespace desk {

// What systemTime() answers from now on, in ns, so that a replay can repeat a capture; absent: the machine's own time.
void setBoottime(std::optional<int64_t> ns);

}  // namespace desk
