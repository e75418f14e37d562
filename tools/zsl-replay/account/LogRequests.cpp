#include "account/LogRequests.h"

#include <algorithm>

#include "account/Messages.h"
#include "capture/YamlInput.h"

namespace replay {

namespace {

constexpr size_t kMostOpen = 64;                // requests that more lines may come for
constexpr size_t kMostBytes = 1 * 1024 * 1024;  // of one request
constexpr char kFrameKey[] = "fwkFrame:";

std::optional<uint32_t> fwkFrameIn(std::string_view text) {
    const size_t key = text.find(kFrameKey);
    if (key == std::string_view::npos) return std::nullopt;
    text.remove_prefix(key + sizeof(kFrameKey) - 1);
    uint32_t frame = 0;
    return parseNumber(text.substr(0, text.find_first_not_of("0123456789")), frame) ? std::optional(frame)
                                                                                    : std::nullopt;
}

bool beginsSelection(std::string_view text) {
    return text.find("] Current Consumer list") != std::string_view::npos ||
           text.find("no metaQueue, select finished") != std::string_view::npos;
}

// One message on both channels of one log.
bool isOtherChannels(const LoggedLine& a, const LoggedLine& b) { return a.message == b.message && a.tag != b.tag; }

}  // namespace

std::optional<std::vector<int64_t>> checkBegin(std::string_view text) {
    return matchNumbers(
        "[ZSLSelector] checkFrameNum = % fwkFrameNum = %  reqtMasterId = % masterRoleId = % AiHLFrameNum = %",
        text.substr(0, text.find(" this = ")));
}

void LoggedRequest::add(LoggedLine line) {
    if (mBytes > kMostBytes) return;
    mBytes += line.message.size() + sizeof(LoggedLine);
    if (mBytes > kMostBytes) notes.push_back("longer than a request can be: the rest of its lines is left out");
    const auto message = splitMessage(line.message);
    if (fileStem(message->file) != kCheckFile) {
        if (!fwkFrame) fwkFrame = fwkFrameIn(message->text);
        selection |= message->function != "isSelectorNeeded";
        lines.push_back(std::move(line));
        return;
    }
    if (!checks.empty() && isOtherChannels(checks.back().lines.back(), line)) return;
    if (const auto begin = checkBegin(message->text)) {
        checks.push_back({static_cast<uint32_t>((*begin)[0]), line.tid, {}});
        if (!fwkFrame) fwkFrame = static_cast<uint32_t>((*begin)[1]);
    } else if (checks.empty()) {
        checks.push_back({0, line.tid, {}});
    }
    // Checks of one request may overlap on several threads.
    const auto own = std::find_if(checks.rbegin(), checks.rend(), [&](const Check& c) { return c.thread == line.tid; });
    (own != checks.rend() ? *own : checks.back()).lines.push_back(std::move(line));
}

LoggedRequest* RequestCollector::latest(const LoggedLine& line) {
    const auto found = std::find_if(mOpen.rbegin(), mOpen.rend(), [&line](const LoggedRequest& request) {
        return !request.ended && !request.lines.empty() && request.lines.front().pid == line.pid &&
               request.lines.front().tid == line.tid;
    });
    return found != mOpen.rend() ? &*found : nullptr;
}

// The request that a line of the sensor-mode check belongs to: named by the check's first line.
LoggedRequest* RequestCollector::checkedBy(const LoggedLine& line, std::string_view text) {
    const auto begin = checkBegin(text);
    const auto found = std::find_if(mOpen.rbegin(), mOpen.rend(), [&](const LoggedRequest& request) {
        if (request.firstLine().pid != line.pid) return false;
        if (begin) return request.fwkFrame == static_cast<uint32_t>((*begin)[1]);
        return std::any_of(request.checks.begin(), request.checks.end(),
                           [&line](const LoggedRequest::Check& check) { return check.thread == line.tid; });
    });
    return found != mOpen.rend() ? &*found : nullptr;
}

LoggedRequest& RequestCollector::begin(LoggedRequest* before) {
    if (before != nullptr) before->ended = true;
    if (mOpen.size() == kMostOpen) {
        if (!mOpen.front().ended) mOpen.front().notes.push_back("taken as finished: too many threads log at once");
        handOver();
    }
    return mOpen.emplace_back();
}

void RequestCollector::add(LoggedLine line) {
    LoggedRequest* request = latest(line);
    if (line.isChatty()) {
        if (request != nullptr) request->notes.push_back("lines dropped by the log: \"" + line.message + '"');
        return;
    }
    const auto message = splitMessage(line.message);
    if (fileStem(message->file) == kCheckFile) {
        request = checkedBy(line, message->text);
        if (request == nullptr) request = &begin(nullptr);
    } else if (request == nullptr) {
        request = &begin(nullptr);
    } else {
        if (isOtherChannels(request->lines.back(), line)) return;
        const auto frame = fwkFrameIn(message->text);
        const bool otherFrame = frame && request->fwkFrame && frame != request->fwkFrame;
        const bool repeated = request->lines.back().message == line.message;
        if (message->function == "isSelectorNeeded" || otherFrame ||
            (beginsSelection(message->text) && request->selection && !repeated)) {
            request = &begin(request);
        }
    }
    request->add(std::move(line));
}

void RequestCollector::handOver() {
    mHandler(mOpen.front());
    mOpen.pop_front();
}

void RequestCollector::finish() {
    while (!mOpen.empty()) handOver();
}

}  // namespace replay
