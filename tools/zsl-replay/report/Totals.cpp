#include "report/Totals.h"

#include <nlohmann/json.hpp>

#include "capture/Text.h"
#include "report/TextReport.h"

namespace replay {

namespace {

std::string words(const std::map<std::string, size_t>& counts) {
    std::string text;
    for (const auto& [name, count] : counts) append(text, name + ' ' + std::to_string(count));
    return text.empty() ? "none" : text;
}

}  // namespace

void Totals::addFile(bool isEmptyLog) {
    ++mFiles;
    mEmptyLogs += isEmptyLog ? 1 : 0;
}

void Totals::add(const Finding& finding) {
    ++mRequests;
    mFailing += finding.differences.empty() ? 0 : 1;
    mDiffer += finding.against && !finding.against->none() ? 1 : 0;
    for (const std::string& strategy : finding.account.strategies) ++mStrategies[strategy];
    for (const Warning& warning : finding.warnings) ++mWarnings[warning.kind];
    if (finding.anchorDistanceNs) mDistancesNs.insert(*finding.anchorDistanceNs);
    if (!finding.log) return;
    ++mLogged;
    mCertain += finding.log->settled() ? 1 : 0;
    mLines += finding.log->lines;
    mReproduced += finding.log->reproduced;
}

int64_t Totals::distanceNs(size_t percent) const {
    const size_t place = (mDistancesNs.size() * percent + 99) / 100 - 1;
    return *std::next(mDistancesNs.begin(), static_cast<std::ptrdiff_t>(place));
}

std::string Totals::reproduced() const {
    return std::to_string(mReproduced) + " of " + counted(mLines, "line") + " reproduced";
}

std::string Totals::line(const std::string& name) const {
    std::string text = printable(name) + ": " + counted(mRequests, "request");
    if (mLogged > 0) text += ", " + reproduced();
    if (!mWarnings.empty()) text += ", warnings: " + words(mWarnings);
    if (mCompares) text += mDiffer == 0 ? ", both builds agree" : ", the builds differ in " + std::to_string(mDiffer);
    if (mFailing > 0) return text + ", " + std::to_string(mFailing) + (mFailing == 1 ? " differs\n" : " differ\n");
    return text + (mLogged > 0 ? ", consistent with the log\n" : ", as expected\n");
}

std::string Totals::block() const {
    std::string text = "total: " + counted(mFiles, "file") + ", " + counted(mRequests, "request") + '\n';
    if (mEmptyLogs > 0) text += "  no lines   " + counted(mEmptyLogs, "log") + " without the selector's lines\n";
    if (mLogged > 0) text += "  log        " + reproduced() + '\n';
    text += "  strategies " + words(mStrategies) + '\n';
    text += "  warnings   " + words(mWarnings) + '\n';
    if (!mDistancesNs.empty()) {
        text += "  anchor     from the target: median " + milliseconds(distanceNs(50), 0) + ", 90 % within " +
                milliseconds(distanceNs(90), 0) + ", furthest " + milliseconds(distanceNs(100), 0) + '\n';
    }
    if (mLogged > 0)
        text += "  certain    " + std::to_string(mCertain) + " of " + counted(mLogged, "selection") + " from logs\n";
    if (mCompares) text += "  builds     differ in " + counted(mDiffer, "request") + '\n';
    text += "  differ     " +
            (mFailing == 0 ? "none\n" : counted(mFailing, "request") + " from what is expected, or logged\n");
    return text;
}

std::string Totals::json() const {
    nlohmann::ordered_json json = {{"files", mFiles},       {"filesWithoutRequests", mEmptyLogs},
                                   {"requests", mRequests}, {"strategies", mStrategies},
                                   {"warnings", mWarnings}, {"anchorDistance", nlohmann::ordered_json::object()},
                                   {"lines", mLines},       {"reproduced", mReproduced},
                                   {"certain", mCertain},   {"failing", mFailing}};
    if (!mDistancesNs.empty()) {
        json["anchorDistance"] = {{"p50", distanceNs(50)}, {"p90", distanceNs(90)}, {"max", distanceNs(100)}};
    }
    if (mCompares) json["differ"] = mDiffer;
    return json.dump() + '\n';
}

}  // namespace replay
