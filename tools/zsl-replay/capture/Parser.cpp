// YAML text into a document, in one pass.

#include <yaml-cpp/depthguard.h>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <istream>
#include <map>
#include <streambuf>
#include <unordered_set>

#include "capture/Document.h"

namespace replay {

namespace {

// A value takes some hundred bytes: a guard against small files whose aliases and merge keys multiply.
constexpr size_t kMostValues = 4'000'000;
constexpr int kDeepest = 200;
constexpr char kTooDeep[] = "expected lists and maps at most 200 deep, found more";

Place placeOf(const YAML::Mark& mark) { return {std::max(mark.line, 0) + 1, std::max(mark.column, 0) + 1}; }

// Builds nodes as the parser meets them.
class Builder : public YAML::EventHandler {
public:
    NodePtr root;

    void OnDocumentStart(const YAML::Mark& mark) override {
        if (root) throw PlacedError(placeOf(mark), "expected one document, found another");
    }
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark& mark, YAML::anchor_t anchor) override {
        add(std::make_shared<Node>(Node{placeOf(mark), 0, {}}), anchor);
    }
    void OnScalar(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor, const std::string& text) override {
        add(std::make_shared<Node>(Node{placeOf(mark), 0, text}), anchor);
    }
    void OnSequenceStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor,
                         YAML::EmitterStyle::value) override {
        open({placeOf(mark), 0, Node::List()}, anchor);
    }
    void OnMapStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor,
                    YAML::EmitterStyle::value) override {
        open({placeOf(mark), 0, Node::Map()}, anchor);
    }
    void OnSequenceEnd() override { close(); }
    void OnMapEnd() override {
        merge(mOpen.back().node);
        close();
    }
    void OnAlias(const YAML::Mark& mark, YAML::anchor_t anchor) override {
        const auto found = mAnchors.find(anchor);
        if (found == mAnchors.end()) {
            throw PlacedError(placeOf(mark), "expected an alias of what is complete, found one of what it stands in");
        }
        add(found->second, 0);
    }

private:
    struct Open {
        Node node;
        YAML::anchor_t anchor;
        NodePtr key;  // of a map, while its value is to come
    };

    void open(Node&& node, YAML::anchor_t anchor) { mOpen.push_back({std::move(node), anchor, nullptr}); }

    void close() {
        Open done = std::move(mOpen.back());
        mOpen.pop_back();
        add(std::make_shared<Node>(std::move(done.node)), done.anchor);
    }

    void count(const Place& place) {
        if (++mValues > kMostValues) {
            throw PlacedError(place, "expected at most " + std::to_string(kMostValues) + " values, found more");
        }
    }

    void add(NodePtr node, YAML::anchor_t anchor) {
        count(node->place);
        if (anchor != 0) mAnchors[anchor] = node;
        if (mOpen.empty()) {
            root = std::move(node);
            return;
        }
        Open& in = mOpen.back();
        in.node.depth = std::max(in.node.depth, node->depth + 1);
        if (in.node.depth > kDeepest) throw PlacedError(node->place, kTooDeep);
        if (auto* list = std::get_if<Node::List>(&in.node.data)) {
            list->push_back(std::move(node));
        } else if (in.key != nullptr) {
            std::get<Node::Map>(in.node.data).emplace_back(std::move(in.key), std::move(node));
        } else if (node->text() != nullptr) {
            in.key = std::move(node);
        } else {
            Value(node).fail("a key");
        }
    }

    // Puts the maps that "<<" names in its place: their keys behind the map's own, which win.
    void merge(Node& node) {
        Node::Map& entries = std::get<Node::Map>(node.data);
        std::unordered_set<std::string_view> keys;
        NodePtr merged;
        for (const auto& [key, value] : entries) {
            if (!keys.insert(*key->text()).second) Value(key).fail("every key once");
            if (*key->text() == "<<") merged = value;
        }
        if (merged == nullptr) return;
        entries.erase(
            std::find_if(entries.begin(), entries.end(), [](const auto& e) { return *e.first->text() == "<<"; }));
        const Node::List* several = merged->list();
        for (const NodePtr& each : several != nullptr ? *several : Node::List{merged}) {
            if (each->map() == nullptr) Value(each).fail("a map to merge");
            for (const auto& entry : *each->map()) {
                count(node.place);
                if (keys.insert(*entry.first->text()).second) entries.push_back(entry);
            }
        }
    }

    std::vector<Open> mOpen;
    std::map<YAML::anchor_t, NodePtr> mAnchors;
    size_t mValues = 0;
};

// Reads text where it lies.
class TextBuffer : public std::streambuf {
public:
    explicit TextBuffer(std::string_view text) {
        char* const begin = const_cast<char*>(text.data());  // never written to
        setg(begin, begin, begin + text.size());
    }
};

// The end of the last line that is this; npos where there is none.
size_t endOfLast(std::string_view line, std::string_view text) {
    for (size_t end = text.size(), begin = end; begin > 0; end = begin - 1) {
        begin = text.rfind('\n', end - (end > 0 ? 1 : 0)) + 1;  // npos + 1 is 0
        std::string_view found = text.substr(begin, end - begin);
        if (!found.empty() && found.back() == '\r') found.remove_suffix(1);
        if (found == line) return end;
    }
    return std::string_view::npos;
}

// Ends a recorded file behind the last request that is whole; what is cut off is a crash's, and no error.
std::string_view wholeRequests(std::string_view text, std::string& cutOff) {
    size_t end = endOfLast("# end", text);
    if (end == std::string_view::npos) end = endOfLast("requests:", text);
    if (end == std::string_view::npos) end = text.find('\n');
    if (text.find_first_not_of(" \r\n", std::min(end, text.size())) == std::string_view::npos) return text;
    const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n') + 2;
    cutOff = "from line " + std::to_string(line) + " on a request that is cut off: it is left out";
    return text.substr(0, end);
}

}  // namespace

NodePtr parseYaml(std::string_view text) {
    TextBuffer buffer(text);
    std::istream stream(&buffer);
    Builder builder;
    try {
        YAML::Parser parser(stream);
        parser.HandleNextDocument(builder);
        if (builder.root != nullptr) parser.HandleNextDocument(builder);  // which says so where there is a second
    } catch (const YAML::DeepRecursion& error) {
        throw PlacedError(placeOf(error.mark), kTooDeep);
    } catch (const YAML::ParserException& error) {
        throw PlacedError(placeOf(error.mark), "expected YAML, found " + printable(error.msg));
    }
    return builder.root != nullptr ? builder.root : std::make_shared<Node>(Node{{1, 1}, 0, {}});
}

Document parseDocument(const std::string& file, const std::string& text) {
    if (text.size() > kLongestCase) {
        throw InputError(printable(file) + ": expected a case file of at most 16 MiB, or a log, found more");
    }
    std::string cutOff;
    std::string_view whole = text;
    if (whole.substr(0, 3) == "\xEF\xBB\xBF") whole.remove_prefix(3);
    const std::string_view first = whole.substr(0, whole.find('\n'));
    if (first == "recorded: 1" || first == "recorded: 1\r") whole = wholeRequests(whole, cutOff);
    try {
        return {file, parseYaml(whole), cutOff};
    } catch (const PlacedError& error) {
        throw inFile(file, error);
    }
}

InputError inFile(const std::string& file, const PlacedError& error) {
    return InputError(printable(file) + ':' + std::to_string(error.place.line) + ':' +
                      std::to_string(error.place.column) + ": " + error.what());
}

}  // namespace replay
