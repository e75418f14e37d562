// Says of every frame of a request why it was chosen or left out.

#pragma once

#include "replay/Finding.h"
#include "replay/Session.h"

namespace replay {

// Fills in one reason for every place in the metadata queue's lists: consumer, producer, and what only the list of all
// frames has. A reason is what the library was seen to do, or what a replay with one thing changed shows; no rule of
// the library is known here. Before it is tried with changes, the request is served once more as it is: where that
// comes out otherwise, a note says so.
void explain(Session& session, Finding& finding);

}  // namespace replay
