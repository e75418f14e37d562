#include "replay/Explain.h"

#include <algorithm>
#include <map>
#include <set>

#include "account/Messages.h"
#include "report/Report.h"
#include "replay/SingleChange.h"
#include "capture/Text.h"

namespace replay {

namespace {

// What the library was seen to do: `leftOut` says why a frame is not chosen, `noted` may have nothing to do with it.
void gatherSights(const Run& run, Reasons& leftOut, Reasons& noted) {
    uint32_t frame = 0;
    for (const desk::LogLine& line : run.log) {
        const auto message = splitMessage(line.message);
        const std::string_view text = message ? message->text : "";
        if (const auto v = match("[ZSLSelector] fwkFrame:% Consumer list: % ResultMetaTarget removed", text)) {
            if (parseNumber((*v)[1], frame)) noted[frame] = "ResultMetaTarget removed";
        } else if (const auto u =
                       match("[ZSLSelector] fwkFrame:%, cannot find zslFrame: % in [%], move begin to next", text)) {
            if (parseNumber((*u)[1], frame)) leftOut[frame] = "cannot find it in [" + std::string((*u)[2]) + ']';
        }
    }
    const Facts facts = factsOf(run);
    if (!facts.beforeThinning || !facts.afterThinning) return;
    for (const uint32_t thinned : *facts.beforeThinning) leftOut[thinned] = "thinned out of the span";
    for (const uint32_t kept : *facts.afterThinning) leftOut.erase(kept);
}

struct Place {
    std::string name;
    uint32_t frame;
};

std::vector<Place> placesOf(const Request& request) {
    std::vector<Place> places;
    FrameSet known;
    const auto add = [&](const std::string& name, const FrameList& list, const FrameSet& except) {
        for (size_t i = 0; i < list.size(); ++i) {
            if (except.count(list[i]) == 0) places.push_back({name + '[' + std::to_string(i) + ']', list[i]});
        }
        known.insert(list.begin(), list.end());
    };
    const Queue* const meta = request.metaQueue();
    if (meta != nullptr) {
        add("consumer", meta->consumer, {});
        add("producer", meta->producer, {});
        add("all", meta->all, FrameSet(known));
    }
    for (const Queue& queue : request.queues) {
        const std::string at = '@' + std::to_string(queue.id);
        if (&queue != meta) add("consumer" + at, queue.consumer, FrameSet(known));
        if (&queue != meta) add("producer" + at, queue.producer, FrameSet(known));
        if (&queue != meta) add("all" + at, queue.all, FrameSet(known));
    }
    return places;
}

std::string holders(const Request& request, uint32_t frame) {
    std::string ids;
    for (const Queue& queue : request.queues) {
        if (queue.held.count(frame) > 0) ids += ' ' + std::to_string(queue.id);
    }
    return "held by" + (ids.empty() ? " none" : ids);
}

std::string placeIn(const FrameList& selection, uint32_t frame) {
    std::string places;
    for (size_t i = 0; i < selection.size(); ++i) {
        if (selection[i] == frame) places += (places.empty() ? "" : " and ") + std::to_string(i + 1);
    }
    return "chosen, " + places + " of " + std::to_string(selection.size());
}

// Columns are padded; numbers and times to the right.
std::vector<std::string> aligned(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::string> lines(rows.size());
    for (size_t column = 0; !rows.empty() && column < rows.front().size(); ++column) {
        size_t width = 0;
        for (const auto& row : rows) width = std::max(width, row[column].size());
        for (size_t i = 0; i < rows.size(); ++i) {
            const std::string padding(width - rows[i][column].size(), ' ');
            const bool right = column == 1 || column == 2;
            lines[i] += "  " + (right ? padding + rows[i][column] : rows[i][column] + padding);
        }
    }
    for (std::string& line : lines) {
        line.erase(line.find_last_not_of(' ') + 1);
        std::replace(line.begin(), line.end(), '\n', ' ');  // of a queue's name
    }
    return lines;
}

}  // namespace

std::vector<std::string> explain(const Case& theCase, size_t index, const Run& run,
                                 const SessionOptions& options) {
    const Request& request = theCase.requests[index];
    const std::vector<Place> places = placesOf(request);
    const FrameSet chosen(run.chosen().begin(), run.chosen().end());
    FrameSet open;
    for (const Place& place : places) {
        if (chosen.count(place.frame) == 0) open.insert(place.frame);
    }
    bool gaveUp = false;
    const Reasons changes = findSingleChanges(theCase, index, run, options, open, gaveUp);
    Reasons leftOut;
    Reasons noted;
    gatherSights(run, leftOut, noted);

    const auto reason = [&](uint32_t frame) -> std::string {
        if (chosen.count(frame) > 0) return placeIn(run.chosen(), frame);
        const std::string change = changes.count(frame) > 0 ? changes.at(frame) : "";
        const std::string separator = change.empty() ? "" : "; ";
        if (!run.outcome.selected && !request.call) return "selection was not asked for" + separator + change;
        if (leftOut.count(frame) > 0) return leftOut[frame] + separator + change;
        if (!change.empty()) return change;
        if (noted.count(frame) > 0) return noted[frame];
        return gaveUp ? "not chosen; no single change tried brings it in (stopped: too many frames)"
                      : "not chosen; no single change brings it in";
    };
    const auto target = targetOf(request, run);
    std::vector<std::vector<std::string>> rows;
    for (const Place& place : places) {
        const auto time = shutterTimeNs(request, place.frame);
        rows.push_back({place.name, std::to_string(place.frame), time && target ? milliseconds(*time, *target) : "-",
                        holders(request, place.frame), reason(place.frame)});
    }
    return aligned(rows);
}

}  // namespace replay
