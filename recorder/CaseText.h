// What a case file says of one request. Answers are noted as the text that the file has for them.

#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "api/ZSLFrameRecords.h"

namespace recorder {

using FrameList = std::vector<uint32_t>;

// Texts of a case.
std::string textOf(int64_t number);
std::string textOf(const FrameList& frames);
std::string textOf(const std::string& name);  // quoted and escaped
std::string textOf(const std::map<std::string, std::string>& map);
std::string textOf(const std::map<uint32_t, std::string>& map);  // but for elements without a text
std::string flagsText(zohal::ZSLSelectorResult result);

// The tags that gate and selection, checks, and checks in static metadata read, with type and count.
std::string requestTags(const ZoMetadata* metadata);
std::string checkTags(const ZoMetadata* metadata);
std::string staticTags(uint32_t camera);

// The head of a file.
std::string headText(const std::string& motionSwitch, const std::map<uint32_t, std::string>& staticTags);

// Answers by question. Of several answers to one question the last one stands.
struct Answers : std::map<std::string, std::string> {
    void note(const char* question, std::string answer);
    bool changed = false;  // some question had several
};

// What one queue answered in the calls of a request.
struct QueueNotes {
    explicit QueueNotes(const zohal::ZSLFrameQueue* handle) : queue(handle) {}
    void note(uint32_t zslFrame, const zohal::ZSLFrameEntry* entry);
    bool isType(zohal::ZSLQueueType type) const;

    const zohal::ZSLFrameQueue* queue;  // to tell queues apart, never followed
    Answers answers;
    std::map<uint32_t, std::string> frames;  // entries; empty where there is none
    FrameList listed;                        // by any of the lists
    bool failed = false;                     // memory was short, and an answer is missing
};

struct Request {
    uint32_t fwkFrame;
    uint32_t master;
    Answers fields;                                   // what was asked, and what the core was seen to answer
    Answers expect;                                   // what the real selector answered
    std::vector<std::shared_ptr<QueueNotes>> queues;  // in the core's order
    std::string checkOf;                              // camera, role, frames, metadata
    FrameList checked;                                // in the order of the checks
    std::map<uint32_t, std::string> checks;
    std::string comments;          // why a replay may differ
    std::optional<size_t> offset;  // in its file; absent until it is written

    std::string text() const;  // ends with the line that tells a whole request from one that was cut off
};

}  // namespace recorder
