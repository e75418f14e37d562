// A case file as data that knows where it was written. YAML is parsed once, into this; a variant is a changed document,
// and a saved case is a document printed.

#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "capture/Case.h"
#include "capture/Value.h"

namespace replay {

constexpr size_t kLongestCase = 16 * 1024 * 1024;  // bytes of a case file

// Immutable and cheap to copy; parts that aliases or variants share are shared in memory.
class Document {
public:
    Document(std::string file, NodePtr root, std::string cutOff = "")
        : mFile(std::move(file)), mRoot(std::move(root)), mCutOff(std::move(cutOff)) {}

    const std::string& file() const { return mFile; }  // its name, as it is given
    const NodePtr& root() const { return mRoot; }
    const std::string& cutOff() const { return mCutOff; }  // see Case

private:
    std::string mFile;
    NodePtr mRoot;
    std::string mCutOff;
};

// What --set and --drop ask for, as given on the command line.
struct Changes {
    std::vector<std::string> settings;  // KEY=VALUE, applied first, in the order given
    std::vector<std::string> drops;     // FRAME[@QUEUE]

    bool empty() const { return settings.empty() && drops.empty(); }
    std::string words() const;  // as options
};

// YAML text as a value; a document as a case; what a case file has under `expect`. Both readers throw PlacedError.
NodePtr parseYaml(std::string_view text);
Case readNodes(const Document& document);
NodePtr nodeOf(const Expectation& expect);

// An error with the file's name and the place ahead.
InputError inFile(const std::string& file, const PlacedError& error);

// All throw InputError, ready to print, with the place in the file; for a change, with the change in its stead.
Document parseDocument(const std::string& file, const std::string& text);
Case readCase(const Document& document);
Document withChanges(const Document& document, const Changes& changes);  // each must leave a case that can be read

// A case that was built rather than read (from a log), as a case file would give it. readCase() gives it back.
Document documentOf(const Case& theCase);

// The same, expecting other things of its requests, one expectation a request.
Document expecting(const Document& document, const std::vector<Expectation>& expectations);

// Prints a case file. Comments stand ahead of the file or of a request; no text in them can end a comment. A case of
// many requests can be printed piece by piece: the head once, then the requests of documents that share it.
void printHead(std::ostream& out, const Document& document, const std::vector<std::string>& comments);
void printRequests(std::ostream& out, const Document& document,
                   const std::vector<std::vector<std::string>>& commentsByRequest);

}  // namespace replay
