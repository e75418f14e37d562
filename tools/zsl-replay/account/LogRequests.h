// Tells the requests in a log apart.

#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "account/Account.h"
#include "account/Catalogue.h"
#include "account/LogLine.h"

namespace replay {

// The lines of one request.
struct LoggedRequest {
    struct Check {
        int thread = 0;
        std::vector<LoggedLine> lines;
    };

    std::vector<LoggedLine> lines;  // of the gate and the selection
    std::vector<Check> checks;      // of the sensor-mode check, one a frame
    Account account;                // its checks are these, one by one
    std::optional<uint32_t> fwkFrame;
    std::vector<std::string> notes;  // what the log itself says is missing, or what was given up
    bool selection = false;          // has lines of the selection
    bool ended = false;              // a later request of the same thread follows

    // Adds a line of this request where it belongs.
    void add(LoggedLine&& line, const std::optional<MatchedLine>& matched);
    void add(LoggedLine&& line);

    const LoggedLine& firstLine() const { return lines.empty() ? checks.front().lines.front() : lines.front(); }

private:
    void addCheckLine(LoggedLine&& line, const std::optional<MatchedLine>& matched);

    size_t mBytes = 0;
};

// Collects lines as they come and hands every request on, in the order they began, once no more of it is to be
// expected. Requests of one process and thread follow each other; the checks of one may come later, from any thread of
// its process.
class RequestCollector {
public:
    using Handler = std::function<void(const LoggedRequest&)>;
    explicit RequestCollector(Handler handler) : mHandler(std::move(handler)) {}

    void add(LoggedLine line);
    void finish();

private:
    LoggedRequest* latest(const LoggedLine& line);
    LoggedRequest* checkedBy(const LoggedLine& line, const std::optional<MatchedLine>& matched);
    LoggedRequest& begin(LoggedRequest* before);
    void handOver();

    Handler mHandler;
    std::deque<LoggedRequest> mOpen;
};

}  // namespace replay
