// Replays a request rebuilt from a log, and finds out which last used frames are consistent with its lines.

#pragma once

#include "account/LogRequests.h"
#include "replay/Finding.h"
#include "replay/Session.h"

namespace replay {

// Changes what was assumed of a rebuilt request where it then comes nearer to the log's lines, and fills in how far
// they agree and which last used frames are consistent with them.
void fitToLog(Session& session, const LoggedRequest& logged, Finding& finding);

// Fills in what consistent last used frames make certain and possible of a request that has been served, as it is now.
void survey(Session& session, Finding& finding);

}  // namespace replay
