// A case file as data that knows where it was written. YAML is parsed once, into this; a variant is a changed document,
// and a saved case one that is printed.

#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "capture/Case.h"
#include "capture/Value.h"

namespace replay {

constexpr size_t kLongestCase = 16 * 1024 * 1024;  // bytes of a case file

struct Document {
    std::string file;    // its name, as it is given
    Value root;          // every request in it has a copy of what the requests share
    std::string cutOff;  // see Case
};

// What --set and --drop ask for, as given on the command line.
struct Changes {
    std::vector<std::string> settings;  // KEY=VALUE, applied first, in the order given
    std::vector<std::string> drops;     // FRAME[@QUEUE]

    bool empty() const { return settings.empty() && drops.empty(); }
    std::string words() const;  // as options
};

// YAML text as a value, aliases as copies, with the requests' defaults in the requests; a value as a case. Both throw
// PlacedError.
Value parseYaml(const std::string& text);
Case readValue(const Value& root);

// All throw InputError, ready to print, with the place in the file; for a change, with the change in its stead.
Document parseDocument(const std::string& file, std::string text);
Case readCase(const Document& document);
Document withChanges(Document document, const Changes& changes);  // each must leave a case that can be read

// A request as it was read, complete without its file; or as a case file would give it, where it was rebuilt from a
// log.
Value valueOf(const Request& request);

// A case of at least one request, of such values. readCase() gives it back.
Document documentOf(const Case& theCase);

// Prints a case file: the head, that is, properties and static metadata, once, then its requests.
void printHead(std::ostream& out, const Case& platform);
void printRequest(std::ostream& out, const Value& request);

}  // namespace replay
