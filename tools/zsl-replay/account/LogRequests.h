// Tells the requests in a log apart.

#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "account/Account.h"
#include "account/LogLine.h"

namespace replay {

// The lines of one request.
struct LoggedRequest {
    using Lines = std::vector<LoggedLine>;

    Lines lines;                // of the gate and the selection
    std::vector<Lines> checks;  // of the sensor-mode check, one a frame; none is empty
    Account account;
    std::vector<std::string> notes;   // what the log itself says is missing, or what was given up
    std::vector<std::string> unread;  // lines that are cut, damaged or unknown
    bool selection = false;           // has lines of the selection
    bool hasDebug = false;            // has debug lines of the gate or the selection
    bool ended = false;               // a later request of the same thread follows

    // Adds a line of this request where it belongs.
    void add(LoggedLine&& line);

    const LoggedLine& firstLine() const { return lines.empty() ? checks.front().front() : lines.front(); }

    // Whether a line of its thread begins another request.
    bool endsBefore(const LoggedLine& line) const;

private:
    Lines& checkOf(const LoggedLine& line);

    size_t mBytes = 0;
};

// A request's lines, as a replay has logged them.
LoggedRequest loggedRequest(const std::vector<desk::LogLine>& lines);

// Collects lines as they come and hands every request on, in the order they began, once 64 others have begun or the
// log ends. Requests of one process and thread follow each other; the checks of one may come later, from any thread of
// its process.
class RequestCollector {
public:
    using Handler = std::function<void(const LoggedRequest&)>;
    explicit RequestCollector(Handler handler) : mHandler(std::move(handler)) {}

    void add(LoggedLine line);
    void finish();

private:
    LoggedRequest* requestOf(const LoggedLine& line);

    Handler mHandler;
    std::deque<LoggedRequest> mOpen;
};

}  // namespace replay
