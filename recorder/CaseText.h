// The parts of a case file as text, in which form answers are noted.

#pragma once

#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "api/ZSLFrameRecords.h"

namespace recorder {

using FrameList = std::vector<uint32_t>;

inline std::string textOf(int64_t number) { return std::to_string(number); }
std::string textOf(const std::string& name);  // quoted and escaped
std::string textOf(const FrameList& frames);
std::string textOf(zohal::ZSLSelectorResult result);
std::string textOf(const ZoMetadata* metadata, std::initializer_list<const char*> tags);  // with type and count

// The elements of a list or map, but for those without a text.
template <typename Range, typename Text>
std::string joined(char open, const Range& range, char close, Text text) {
    std::string result(1, open);
    for (const auto& element : range) {
        const std::string next = text(element);
        if (result.size() > 1 && !next.empty()) result += ", ";
        result += next;
    }
    return result + close;
}

// Answers by question. Of several answers to one question the last one stands.
struct Answers : std::map<std::string, std::string> {
    void note(const char* question, std::string answer);
    bool has(const char* question) const { return count(question) != 0; }
    bool is(const char* question, const std::string& answer) const { return has(question) && at(question) == answer; }
    std::string text() const;

    bool changed = false;  // some question had several
    bool fresh = false;    // an answer is new
};

}  // namespace recorder
