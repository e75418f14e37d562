#include "report/Totals.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "capture/Text.h"

namespace replay {

namespace {

std::string counted(size_t number, const std::string& what) {
    return std::to_string(number) + ' ' + what + (number == 1 ? "" : "s");
}

// The least value that a share of all do not exceed.
int64_t percentile(const std::vector<int64_t>& sorted, size_t percent) {
    return sorted[(sorted.size() * percent + 99) / 100 - 1];
}

std::string words(const std::map<std::string, size_t>& counts) {
    std::string text;
    for (const auto& [name, count] : counts) text += (text.empty() ? "" : ", ") + name + ' ' + std::to_string(count);
    return text.empty() ? "none" : text;
}

}  // namespace

void Totals::add(const Finding& finding) {
    ++mRequests;
    mFailing += finding.differences.empty() ? 0 : 1;
    mWarned += finding.warnings.empty() ? 0 : 1;
    for (const std::string& strategy : finding.account.strategies) ++mStrategies[strategy];
    for (const Warning& warning : finding.warnings) ++mWarnings[warning.kind];
    if (finding.anchorDistanceNs) mDistancesNs.push_back(*finding.anchorDistanceNs);
    if (const auto& log = finding.log) {
        ++mLogged;
        mCertain += log->settled() ? 1 : 0;
        mLines += log->lines;
        mReproduced += log->reproduced;
    }
    mDiffer += finding.against && !finding.against->none() ? 1 : 0;
}

std::vector<int64_t> Totals::sortedDistances() const {
    std::vector<int64_t> sorted = mDistancesNs;
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

std::string Totals::line(const std::string& name) const {
    std::string text = printable(name) + ": " + counted(mRequests, "request");
    if (mLogged > 0) text += ", " + std::to_string(mReproduced) + " of " + counted(mLines, "line") + " reproduced";
    if (mWarned > 0) text += ", " + std::to_string(mWarned) + " with warnings";
    if (mCompares) text += mDiffer == 0 ? ", both builds agree" : ", the builds differ in " + std::to_string(mDiffer);
    if (mFailing > 0) return text + ", " + std::to_string(mFailing) + (mFailing == 1 ? " differs\n" : " differ\n");
    return text + (mLogged > 0 ? ", consistent with the log\n" : ", as expected\n");
}

std::string Totals::block() const {
    std::string text = "total: " + counted(mFiles, "file") + ", " + counted(mRequests, "request") + '\n';
    const auto line = [&text](std::string label, const std::string& what) {
        label.resize(11, ' ');
        text += "  " + label + what + '\n';
    };
    if (mFilesWithout > 0) line("no lines", counted(mFilesWithout, "log") + " without the selector's lines");
    if (mLogged > 0) line("log", std::to_string(mReproduced) + " of " + counted(mLines, "line") + " reproduced");
    line("strategies", words(mStrategies));
    line("warnings", words(mWarnings));
    const std::vector<int64_t> sorted = sortedDistances();
    if (!sorted.empty()) {
        line("anchor", "from the target: median " + milliseconds(percentile(sorted, 50), 0) + ", 90 % within " +
                           milliseconds(percentile(sorted, 90), 0) + ", furthest " + milliseconds(sorted.back(), 0));
    }
    if (mLogged > 0) line("certain", std::to_string(mCertain) + " of " + counted(mLogged, "selection") + " from logs");
    if (mCompares) line("builds", "differ in " + counted(mDiffer, "request"));
    line("differ", mFailing == 0 ? "none" : counted(mFailing, "request") + " from what is expected, or logged");
    return text;
}

std::string Totals::json() const {
    nlohmann::ordered_json json = {{"files", mFiles}, {"filesWithoutRequests", mFilesWithout}, {"requests", mRequests}};
    json["strategies"] = mStrategies;
    json["warnings"] = mWarnings;
    const std::vector<int64_t> sorted = sortedDistances();
    json["anchorDistance"] = nlohmann::ordered_json::object();
    if (!sorted.empty()) {
        json["anchorDistance"] = {
            {"p50", percentile(sorted, 50)}, {"p90", percentile(sorted, 90)}, {"max", sorted.back()}};
    }
    json["lines"] = mLines;
    json["reproduced"] = mReproduced;
    json["certain"] = mCertain;
    json["failing"] = mFailing;
    if (mCompares) json["differ"] = mDiffer;
    return json.dump() + '\n';
}

}  // namespace replay
