// Case files: read, changed and printed.

#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "capture/Case.h"
#include "capture/Value.h"

namespace replay {

constexpr size_t kLongestCase = 16 * 1024 * 1024;  // bytes of a case file

// What --set and --drop ask for, as given on the command line.
struct Changes {
    std::vector<std::string> settings;  // KEY=VALUE, applied first, in the order given
    std::vector<std::string> drops;     // FRAME[@QUEUE]

    bool empty() const { return settings.empty() && drops.empty(); }
    std::string words() const;  // as options
};

// YAML text as a value, aliases as copies; values as a case, and as its requests. All throw PlacedError.
Value parseYaml(const std::string& text);
Case readValue(const Value& root);
std::vector<Request> readRequests(const Value::List& values);

// Both throw InputError, ready to print, that names the place in the file, or the change. Every change must leave
// requests that can be read.
Case readCase(const std::string& file, std::string text);
std::vector<Request> withChanges(std::vector<Request> requests, const Changes& changes);

// A request as a case file gives it, complete without those before it.
Value valueOf(const Request& request);

// Prints a case file: the head, that is, properties and static metadata, once, then its requests.
void printHead(std::ostream& out, const Case& platform);
void printRequest(std::ostream& out, const Value& request);

}  // namespace replay
