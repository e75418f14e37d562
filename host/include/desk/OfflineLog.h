// The debug library's offline log, kept in memory on a desk.

#pragma once

#include <vector>

#include "desk/LogSink.h"

namespace desk {

// Removes and returns what Log::logSystem has stored. A message stands behind the same "group file:line function()" as
// on the online channel, under the tag "ZoOffline", and is not cut.
std::vector<LogLine> takeOfflineLog();

}  // namespace desk
