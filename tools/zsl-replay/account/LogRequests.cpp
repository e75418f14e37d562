#include "account/LogRequests.h"

#include <fmt/format.h>

#include <algorithm>

#include "account/Catalogue.h"

namespace replay {

namespace {

constexpr size_t kMostOpen = 64;                // requests that more lines may come for
constexpr size_t kMostBytes = 1 * 1024 * 1024;  // of one request
constexpr size_t kMostNotes = 20;               // on lines that the log dropped

}  // namespace

void LoggedRequest::add(LoggedLine&& line) {
    if (mBytes > kMostBytes) return;
    mBytes += line.text.size() + sizeof(LoggedLine);
    if (mBytes > kMostBytes) notes.push_back("longer than a request can be: the rest of its lines is left out");
    const char* damage = line.isCut ? "cut" : line.entry == nullptr ? "damaged or unknown" : nullptr;
    if (damage != nullptr) unread.push_back(fmt::format("line {}, which is {}", line.number, damage));
    if (!account.fwkFrame) account.fwkFrame = line.fwkFrame();
    const bool isStrategy = !line.isCheck && !line.isGate() && line.function != "selectZSLFrames";
    if (isStrategy && line.entry != nullptr) account.addStrategy(line.function);
    if (line.entry != nullptr && line.entry->note != nullptr) line.entry->note(line, account);
    selection |= !line.isCheck && !line.isGate();
    hasDebug |= line.level == 'D' && !line.isCheck;  // levels are set by tag
    (line.isCheck ? checkOf(line) : lines).push_back(std::move(line));
}

// Checks of one request may overlap on several threads.
LoggedRequest::Lines& LoggedRequest::checkOf(const LoggedLine& line) {
    const auto own = std::find_if(checks.rbegin(), checks.rend(),
                                  [&line](const Lines& check) { return check.front().tid == line.tid; });
    return own != checks.rend() && !line.isFirst() ? *own : checks.emplace_back();
}

bool LoggedRequest::endsBefore(const LoggedLine& line) const {
    const auto fwkFrame = line.fwkFrame();
    const bool isOtherFrame = fwkFrame && account.fwkFrame && fwkFrame != account.fwkFrame;
    const bool isRepeated = lines.back().function == line.function && lines.back().text == line.text;
    return line.isGate() || isOtherFrame || (line.isFirst() && selection && !isRepeated);
}

LoggedRequest loggedRequest(const std::vector<desk::LogLine>& lines) {
    LoggedRequest request;
    for (const desk::LogLine& each : lines) {
        if (auto line = selectorLine(each)) request.add(std::move(*line));
    }
    return request;
}

// The request under way in the line's thread; of a check the one that its first line names.
LoggedRequest* RequestCollector::requestOf(const LoggedLine& line) {
    const auto isIts = [&line](const LoggedRequest& request) {
        if (request.firstLine().pid != line.pid) return false;
        if (!line.isCheck) return !request.ended && !request.lines.empty() && request.lines.front().tid == line.tid;
        if (line.isFirst()) return request.account.fwkFrame == line.fwkFrame();
        return std::any_of(request.checks.begin(), request.checks.end(),
                           [&line](const LoggedRequest::Lines& check) { return check.front().tid == line.tid; });
    };
    const auto found = std::find_if(mOpen.rbegin(), mOpen.rend(), isIts);
    return found != mOpen.rend() ? &*found : nullptr;
}

void RequestCollector::add(LoggedLine line) {
    LoggedRequest* request = requestOf(line);
    if (line.function.empty()) {
        if (request != nullptr && request->notes.size() < kMostNotes)
            request->notes.push_back(fmt::format("lines dropped by the log: \"{}\"", line.text));
        return;
    }
    if (!line.isCheck && request != nullptr && request->endsBefore(line)) {
        request->ended = true;
        request = nullptr;
    }
    if (request == nullptr && mOpen.size() == kMostOpen) {
        mHandler(mOpen.front());
        mOpen.pop_front();
    }
    if (request == nullptr) request = &mOpen.emplace_back();
    request->add(std::move(line));
}

void RequestCollector::finish() {
    std::for_each(mOpen.begin(), mOpen.end(), mHandler);
    mOpen.clear();
}

}  // namespace replay
