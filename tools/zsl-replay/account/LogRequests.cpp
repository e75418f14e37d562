#include "account/LogRequests.h"

#include <algorithm>

namespace replay {

namespace {

constexpr size_t kMostOpen = 64;                // requests that more lines may come for
constexpr size_t kMostBytes = 1 * 1024 * 1024;  // of one request

bool isFirst(const std::optional<MatchedLine>& matched) { return matched && matched->entry->isFirst; }

}  // namespace

void LoggedRequest::add(LoggedLine&& line, const std::optional<MatchedLine>& matched) {
    if (mBytes > kMostBytes) return;
    mBytes += line.text.size() + sizeof(LoggedLine);
    if (mBytes > kMostBytes) notes.push_back("longer than a request can be: the rest of its lines is left out");
    if (!matched || line.isCut) {
        unread.push_back("line " + std::to_string(line.number) + ", which is " +
                         (line.isCut ? "cut" : "damaged or unknown"));
    }
    const bool isStrategy = !line.isCheck && line.function != "isSelectorNeeded" && line.function != "selectZSLFrames";
    if (matched) {
        if (!account.fwkFrame) account.fwkFrame = matched->fwkFrame();
        if (isStrategy) account.addStrategy(line.function);
        if (matched->entry->note != nullptr) matched->entry->note(*matched, account);
    }
    selection |= !line.isCheck && line.function != "isSelectorNeeded";
    hasDebug |= line.level == 'D';
    (line.isCheck ? checkOf(line, matched).lines : lines).push_back(std::move(line));
}

// Checks of one request may overlap on several threads.
LoggedRequest::Check& LoggedRequest::checkOf(const LoggedLine& line, const std::optional<MatchedLine>& matched) {
    if (isFirst(matched)) return checks.emplace_back(Check{line.tid, matched->unsigned32(0), {}});
    const auto own = std::find_if(checks.rbegin(), checks.rend(), [&](const Check& c) { return c.thread == line.tid; });
    return own != checks.rend() ? *own : checks.emplace_back(Check{line.tid, 0, {}});
}

bool LoggedRequest::endsBefore(const LoggedLine& line, const std::optional<MatchedLine>& matched) const {
    const auto fwkFrame = matched ? matched->fwkFrame() : std::nullopt;
    const bool isOtherFrame = fwkFrame && account.fwkFrame && fwkFrame != account.fwkFrame;
    const bool isRepeated = lines.back().function == line.function && lines.back().text == line.text;
    return line.function == "isSelectorNeeded" || isOtherFrame || (isFirst(matched) && selection && !isRepeated);
}

LoggedRequest loggedRequest(const std::vector<desk::LogLine>& lines) {
    LoggedRequest request;
    for (const desk::LogLine& each : lines) {
        auto line = selectorLine(each);
        if (!line) continue;
        const auto matched = matchLine(line->function, line->text, line->isCut);
        request.add(std::move(*line), matched);
    }
    return request;
}

Account accountOf(const std::vector<desk::LogLine>& lines) { return loggedRequest(lines).account; }

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
        if (isFirst(matched)) return request.account.fwkFrame == matched->fwkFrame();
        return std::any_of(request.checks.begin(), request.checks.end(),
                           [&line](const LoggedRequest::Check& check) { return check.thread == line.tid; });
    });
    return found != mOpen.rend() ? &*found : nullptr;
}

void RequestCollector::add(LoggedLine line) {
    LoggedRequest* request = latest(line);
    if (line.function.empty()) {
        if (request != nullptr) request->notes.push_back("lines dropped by the log: \"" + line.text + '"');
        return;
    }
    const auto matched = matchLine(line.function, line.text, line.isCut);
    if (line.isCheck) {
        request = checkedBy(line, matched);
    } else if (request != nullptr && request->endsBefore(line, matched)) {
        request->ended = true;
        request = nullptr;
    }
    if (request == nullptr && mOpen.size() == kMostOpen) {
        mOpen.front().ended = true;
        handOver();
    }
    if (request == nullptr) request = &mOpen.emplace_back();
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
