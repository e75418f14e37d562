#include "report/Totals.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "capture/Text.h"
#include "report/TextReport.h"

namespace replay {

namespace {

std::string words(const std::map<std::string, size_t>& counts) {
    std::string text;
    for (const auto& [name, count] : counts) append(text, fmt::format("{} {}", name, count));
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
    mCompares = mCompares || finding.against;
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

std::string Totals::line(const std::string& name) const {
    std::string text = fmt::format("{}: {}", printable(name), counted(mRequests, "request"));
    if (mLogged > 0) text += fmt::format(", {} of {} reproduced", mReproduced, counted(mLines, "line"));
    if (!mWarnings.empty()) text += ", warnings: " + words(mWarnings);
    if (mCompares) text += mDiffer == 0 ? ", both builds agree" : fmt::format(", the builds differ in {}", mDiffer);
    if (mFailing > 0) return text + fmt::format(", {} differ{}\n", mFailing, mFailing == 1 ? "s" : "");
    return text + (mLogged > 0 ? ", consistent with the log\n" : ", as expected\n");
}

std::string Totals::block() const {
    std::string text = fmt::format("total: {}, {}\n", counted(mFiles, "file"), counted(mRequests, "request"));
    if (mEmptyLogs > 0)
        text += fmt::format("  no lines   {} without the selector's lines\n", counted(mEmptyLogs, "log"));
    if (mLogged > 0) text += fmt::format("  log        {} of {} reproduced\n", mReproduced, counted(mLines, "line"));
    text += fmt::format("  strategies {}\n  warnings   {}\n", words(mStrategies), words(mWarnings));
    if (!mDistancesNs.empty()) {
        text += fmt::format("  anchor     from the target: median {}, 90 % within {}, furthest {}\n",
                            milliseconds(distanceNs(50), 0), milliseconds(distanceNs(90), 0),
                            milliseconds(distanceNs(100), 0));
    }
    if (mLogged > 0) {
        text += fmt::format("  certain    {} of {} from logs\n", mCertain, counted(mLogged, "selection"));
    }
    if (mCompares) text += fmt::format("  builds     differ in {}\n", counted(mDiffer, "request"));
    if (mFailing == 0) return text + "  differ     none\n";
    return text + fmt::format("  differ     {} from what is expected, or logged\n", counted(mFailing, "request"));
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
