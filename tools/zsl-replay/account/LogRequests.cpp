#include "account/LogRequests.h"

#include <algorithm>

namespace replay {

namespace {

constexpr size_t kMostOpen = 64;                // requests that more lines may come for
constexpr size_t kMostBytes = 1 * 1024 * 1024;  // of one request

bool isFirst(const std::optional<MatchedLine>& matched) { return matched && matched->entry->isFirst; }

// Takes a line of the gate or of a selection into account.
void note(const LoggedLine& line, const std::optional<MatchedLine>& matched, Account& account) {
    const std::string_view function = line.function();
    if (function != "isSelectorNeeded" && function != "selectZSLFrames" && isKnownFunction(function)) {
        addStrategy(account, function);
    }
    if (!matched || !matched->saysEnough()) {
        account.unread.push_back("line " + std::to_string(line.number) + ", which is " +
                                 (line.cut ? "cut" : "damaged or unknown"));
    } else if (matched->entry->note != nullptr) {
        matched->entry->note(*matched, account);
    }
}

// One message on both channels of one log.
bool isOtherChannels(const LoggedLine& a, const LoggedLine& b) { return a.message == b.message && a.tag != b.tag; }

}  // namespace

void LoggedRequest::add(LoggedLine&& line) {
    const auto matched = matchLine(line.function(), line.text(), line.cut);
    add(std::move(line), matched);
}

void LoggedRequest::add(LoggedLine&& line, const std::optional<MatchedLine>& matched) {
    if (mBytes > kMostBytes) return;
    mBytes += line.message.size() + sizeof(LoggedLine);
    if (mBytes > kMostBytes) notes.push_back("longer than a request can be: the rest of its lines is left out");
    if (!fwkFrame && matched) account.fwkFrame = fwkFrame = matched->fwkFrame;
    if (line.isCheck) return addCheckLine(std::move(line), matched);
    selection |= line.function() != "isSelectorNeeded";
    note(line, matched, account);
    lines.push_back(std::move(line));
}

// Checks of one request may overlap on several threads.
void LoggedRequest::addCheckLine(LoggedLine&& line, const std::optional<MatchedLine>& matched) {
    if (!checks.empty() && isOtherChannels(checks.back().lines.back(), line)) return;
    if (isFirst(matched) || checks.empty()) {
        checks.push_back({line.tid, {}});
        account.checks.emplace_back();
    }
    const auto own = std::find_if(checks.rbegin(), checks.rend(), [&](const Check& c) { return c.thread == line.tid; });
    Check& check = own != checks.rend() ? *own : checks.back();
    if (matched && matched->saysEnough() && matched->entry->noteCheck != nullptr) {
        matched->entry->noteCheck(*matched, account.checks[static_cast<size_t>(&check - checks.data())]);
    }
    check.lines.push_back(std::move(line));
}

Account accountOf(const std::vector<desk::LogLine>& lines) {
    LoggedRequest request;
    for (const desk::LogLine& line : lines) request.add(loggedLine(line));
    return std::move(request.account);
}

LoggedRequest* RequestCollector::latest(const LoggedLine& line) {
    const auto found = std::find_if(mOpen.rbegin(), mOpen.rend(), [&line](const LoggedRequest& request) {
        return !request.ended && !request.lines.empty() && request.lines.front().pid == line.pid &&
               request.lines.front().tid == line.tid;
    });
    return found != mOpen.rend() ? &*found : nullptr;
}

// The request that a line of the sensor-mode check belongs to: named by the check's first line.
LoggedRequest* RequestCollector::checkedBy(const LoggedLine& line, const std::optional<MatchedLine>& matched) {
    const auto found = std::find_if(mOpen.rbegin(), mOpen.rend(), [&](const LoggedRequest& request) {
        if (request.firstLine().pid != line.pid) return false;
        if (isFirst(matched)) return request.fwkFrame == matched->fwkFrame;
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
    const auto matched = matchLine(line.function(), line.text(), line.cut);
    if (line.isCheck) {
        request = checkedBy(line, matched);
        if (request == nullptr) request = &begin(nullptr);
    } else if (request == nullptr) {
        request = &begin(nullptr);
    } else {
        if (isOtherChannels(request->lines.back(), line)) return;
        const bool otherFrame =
            matched && matched->fwkFrame && request->fwkFrame && matched->fwkFrame != request->fwkFrame;
        const bool repeated = request->lines.back().message == line.message;
        if (line.function() == "isSelectorNeeded" || otherFrame ||
            (isFirst(matched) && request->selection && !repeated)) {
            request = &begin(request);
        }
    }
    request->add(std::move(line), matched);
}

void RequestCollector::handOver() {
    mHandler(mOpen.front());
    mOpen.pop_front();
}

void RequestCollector::finish() {
    while (!mOpen.empty()) handOver();
}

}  // namespace replay
