// A case file as data that knows where it was written. YAML is parsed once, into this; a variant is a changed document.

#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "capture/Case.h"
#include "capture/Value.h"

namespace replay {

constexpr size_t kLongestCase = 16 * 1024 * 1024;  // bytes of a case file

// Immutable and cheap to copy; parts that aliases or variants share are shared in memory.
struct Document {
    std::string file;  // its name, as it is given
    NodePtr root;
    std::string cutOff;  // see Case
};

// What --set and --drop ask for, as given on the command line.
struct Changes {
    std::vector<std::string> settings;  // KEY=VALUE, applied first, in the order given
    std::vector<std::string> drops;     // FRAME[@QUEUE]

    bool empty() const { return settings.empty() && drops.empty(); }
    std::string words() const;  // as options
};

// YAML text as a value; a document as a case. Both throw PlacedError.
NodePtr parseYaml(const std::string& text);
Case readNodes(const Document& document);

// All throw InputError, ready to print, with the place in the file; for a change, with the change in its stead.
Document parseDocument(const std::string& file, std::string text);
Case readCase(const Document& document);
Document withChanges(const Document& document, const Changes& changes);  // each must leave a case that can be read

// Prints a case that was built or changed, as a case file: the head once, then its requests. Comments stand ahead of
// either; no text in them can end a comment.
void printHead(std::ostream& out, const Case& platform, const std::vector<std::string>& comments);
void printRequest(std::ostream& out, const Request& request, const std::vector<std::string>& comments);

// A case of at least one request as a case file would give it, so that it can be changed. readCase() gives it back.
Document documentOf(const Case& theCase);

}  // namespace replay
