// YAML text into a document, in one pass.

#include <yaml-cpp/depthguard.h>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <unordered_set>

#include "capture/Document.h"

namespace replay {

namespace {

// A value takes some hundred bytes: a guard against small files whose aliases and merge keys multiply.
constexpr size_t kMostValues = 4'000'000;
constexpr int kDeepest = 200;
constexpr char kShallow[] = "lists and maps at most 200 deep";

Place placeOf(const YAML::Mark& mark) { return {std::max(mark.line, 0) + 1, std::max(mark.column, 0) + 1}; }

// Builds nodes as the parser meets them.
class Builder : public YAML::EventHandler {
public:
    NodePtr root;

    void OnDocumentStart(const YAML::Mark& mark) override {
        if (root) throw PlacedError(placeOf(mark), "one document", "another");
    }
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark& mark, YAML::anchor_t anchor) override { add({placeOf(mark), 0, {}}, anchor); }
    void OnScalar(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor, const std::string& text) override {
        add({placeOf(mark), 0, text}, anchor);
    }
    void OnSequenceStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor,
                         YAML::EmitterStyle::value) override {
        mOpen.push_back({{placeOf(mark), 0, Node::List()}, anchor, nullptr});
    }
    void OnMapStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor,
                    YAML::EmitterStyle::value) override {
        mOpen.push_back({{placeOf(mark), 0, Node::Map()}, anchor, nullptr});
    }
    void OnSequenceEnd() override {
        Open done = std::move(mOpen.back());
        mOpen.pop_back();
        add(std::move(done.node), done.anchor);
    }
    void OnMapEnd() override {
        finish(mOpen.back().node);
        OnSequenceEnd();
    }
    void OnAlias(const YAML::Mark& mark, YAML::anchor_t anchor) override {
        const auto found = mAnchors.find(anchor);
        if (found == mAnchors.end()) {
            throw PlacedError(placeOf(mark), "an alias of what is complete", "one of what it stands in");
        }
        put(found->second);
    }

private:
    struct Open {
        Node node;
        YAML::anchor_t anchor;
        NodePtr key;  // of a map, while its value is to come
    };

    void add(Node node, YAML::anchor_t anchor) {
        const auto added = std::make_shared<Node>(std::move(node));
        if (anchor != 0) mAnchors[anchor] = added;
        put(added);
    }

    void count(const Place& place, size_t values) {
        mValues += values;
        if (mValues > kMostValues)
            throw PlacedError(place, "at most " + std::to_string(kMostValues) + " values", "more");
    }

    void put(const NodePtr& node) {
        count(node->place, 1);
        if (mOpen.empty()) {
            root = node;
            return;
        }
        Open& in = mOpen.back();
        in.node.depth = std::max(in.node.depth, node->depth + 1);
        if (in.node.depth > kDeepest) throw PlacedError(node->place, kShallow, "more");
        if (auto* list = std::get_if<Node::List>(&in.node.data)) {
            list->push_back(node);
        } else if (in.key != nullptr) {
            std::get<Node::Map>(in.node.data).emplace_back(std::move(in.key), node);
        } else if (node->text() != nullptr) {
            in.key = node;
        } else {
            Value(node).fail("a key");
        }
    }

    // Puts the map that "<<" names in its place: its keys behind the map's own, which win.
    void finish(Node& node) {
        Node::Map& entries = std::get<Node::Map>(node.data);
        std::unordered_set<std::string_view> keys;
        for (const auto& [key, value] : entries) {
            if (!keys.insert(*key->text()).second) Value(key).fail("every key once");
        }
        const NodePtr merged = find(node, "<<");
        if (merged == nullptr) return;
        if (merged->map() == nullptr) Value(merged).fail("a map to merge");
        count(node.place, merged->map()->size());
        entries.erase(
            std::find_if(entries.begin(), entries.end(), [](const auto& e) { return *e.first->text() == "<<"; }));
        merge(node, *merged);
    }

    std::vector<Open> mOpen;
    std::map<YAML::anchor_t, NodePtr> mAnchors;
    size_t mValues = 0;
};

// Ends a recorded file behind the last request that is whole. What is cut off is a crash's, and no error: it is told.
std::string cutRecorded(std::string& text) {
    size_t end = text.find('\n');
    for (const std::string last : {"\nrequests:", "\n# end"}) {
        const size_t found = text.rfind(last + '\n');
        if (found != std::string::npos) end = found + last.size();
    }
    if (text.find_first_not_of("\r\n ", std::min(end, text.size())) == std::string::npos) return "";
    text.resize(end);
    return "from line " + std::to_string(std::count(text.begin(), text.end(), '\n') + 2) +
           " on a request that is cut off: it is left out";
}

InputError inFile(const std::string& file, const PlacedError& error) {
    return InputError(printable(file) + ':' + std::to_string(error.place.line) + ':' +
                      std::to_string(error.place.column) + ": " + error.what());
}

}  // namespace

NodePtr parseYaml(const std::string& text) {
    std::istringstream stream(text);
    Builder builder;
    try {
        YAML::Parser parser(stream);
        parser.HandleNextDocument(builder);
        if (builder.root != nullptr) parser.HandleNextDocument(builder);  // which says so where there is a second
    } catch (const YAML::DeepRecursion& error) {
        throw PlacedError(placeOf(error.mark), kShallow, "more");
    } catch (const YAML::ParserException& error) {
        throw PlacedError(placeOf(error.mark), "YAML", printable(error.msg));
    }
    return builder.root != nullptr ? builder.root : std::make_shared<Node>(Node{{1, 1}, 0, {}});
}

Document parseDocument(const std::string& file, std::string text) {
    if (text.size() > kLongestCase) {
        throw InputError(printable(file) + ": expected a case file of at most 16 MiB, or a log, found more");
    }
    const bool isRecorded = text.compare(0, 12, "recorded: 1\n") == 0;
    const std::string cutOff = isRecorded ? cutRecorded(text) : "";
    try {
        return {file, parseYaml(text), cutOff};
    } catch (const PlacedError& error) {
        throw inFile(file, error);
    }
}

Case readCase(const Document& document) {
    try {
        return readNodes(document);
    } catch (const PlacedError& error) {
        throw inFile(document.file, error);
    }
}

}  // namespace replay
