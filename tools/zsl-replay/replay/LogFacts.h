// What one request's lines in a log say.

#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "capture/Case.h"
#include "account/LogRequests.h"
#include "account/Messages.h"

namespace replay {

using Times = std::map<uint32_t, int64_t>;  // shutter times in ns, by frame

struct LogFacts {
    void readSelection(const LoggedLine& line);
    void readCheck(const LoggedRequest::Check& check);

    Request request;  // as far as lines give it as it stands
    Facts facts;
    std::vector<std::string> gaps;
    std::string strategy;  // the function that logged last
    bool noMetaQueue = false;
    std::string queueName;  // of the metadata queue
    std::optional<FrameList> consumer;
    std::optional<FrameList> producer;
    FrameList consumerMet;  // as the search met them
    FrameList producerMet;
    Times times;
    std::set<uint32_t> removed;                          // from the metadata queue
    std::map<std::string, std::set<uint32_t>> notFound;  // by queue
    std::map<uint32_t, std::optional<uint32_t>> modes;   // of checked frames; none: lost

private:
    bool readList(std::string_view text, bool cut, const std::string& name, std::optional<FrameList>& list);
    void readSearch(std::string_view text);
};

// Sets a tag; 0 counts as absent.
void setTag(Tags& tags, const char* tag, int64_t value);

}  // namespace replay
