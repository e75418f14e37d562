// YAML text into a document, in one pass.

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
constexpr size_t kDeepest = 200;
constexpr size_t kLongestKey = 200;  // bytes: one that is printed, with escapes, can still be read

Place placeOf(const YAML::Mark& mark) { return {std::max(mark.line, 0) + 1, std::max(mark.column, 0) + 1}; }

// Adds up how many values memory is taken for; how deep lists and maps stand in each other.
size_t measure(const Value& value, size_t& values) {
    size_t depth = 0;
    const auto add = [&](const Value& part) { depth = std::max(depth, measure(part, values)); };
    values += 1 + (value.isText() ? value.text().size() / sizeof(Value) : 0);
    if (value.isList()) std::for_each(value.list().begin(), value.list().end(), add);
    if (value.isMap()) {
        for (const auto& [key, part] : value.map()) {
            add(key);
            add(part);
        }
    }
    return value.isList() || value.isMap() ? depth + 1 : 0;
}

// Builds values as the parser meets them.
class Builder : public YAML::EventHandler {
public:
    std::optional<Value> root;

    void OnDocumentStart(const YAML::Mark& mark) override {
        if (root) throw PlacedError(placeOf(mark), "one document", "another");
    }
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark& mark, YAML::anchor_t anchor) override { add(Value(), mark, anchor); }
    void OnScalar(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor, const std::string& text) override {
        add(text, mark, anchor);
    }
    void OnSequenceStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor,
                         YAML::EmitterStyle::value) override {
        open(Value::List(), mark, anchor);
    }
    void OnMapStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor,
                    YAML::EmitterStyle::value) override {
        open(Value::Map(), mark, anchor);
    }
    void OnSequenceEnd() override {
        Open done = std::move(mOpen.back());
        mOpen.pop_back();
        put(std::move(done.value), done.anchor);
    }
    void OnMapEnd() override {
        finishMap(mOpen.back().value);
        OnSequenceEnd();
    }
    void OnAlias(const YAML::Mark& mark, YAML::anchor_t anchor) override {
        const auto found = mAnchors.find(anchor);
        if (found == mAnchors.end()) {
            throw PlacedError(placeOf(mark), "an alias of what is complete", "one of what it stands in");
        }
        count(found->second);
        put(found->second, 0);
    }

private:
    struct Open {
        Value value;
        YAML::anchor_t anchor;
        Value key;  // of a map, while its value is to come; else null
    };

    void open(Value value, const YAML::Mark& mark, YAML::anchor_t anchor) {
        value.place = placeOf(mark);
        count(value);
        mOpen.push_back({std::move(value), anchor, Value()});
    }

    void add(Value value, const YAML::Mark& mark, YAML::anchor_t anchor) {
        value.place = placeOf(mark);
        count(value);
        put(std::move(value), anchor);
    }

    // Refuses what memory, or the stack where it is read, would not bear.
    void count(const Value& value) {
        const size_t depth = mOpen.size() + measure(value, mValues);
        if (mValues > kMostValues) value.fail("at most " + std::to_string(kMostValues) + " values", "more");
        if (depth > kDeepest) value.fail("lists and maps at most 200 deep", "more");
    }

    void put(Value value, YAML::anchor_t anchor) {
        if (anchor != 0) {
            count(value);
            mAnchors[anchor] = value;
        }
        if (mOpen.empty()) {
            root = std::move(value);
            return;
        }
        Open& in = mOpen.back();
        if (auto* const list = std::get_if<Value::List>(&in.value.data)) {
            list->push_back(std::move(value));
        } else if (!in.key.isNull()) {
            std::get<Value::Map>(in.value.data).emplace_back(std::exchange(in.key, Value()), std::move(value));
        } else if (value.isText() && value.text().size() <= kLongestKey) {
            in.key = std::move(value);
        } else {
            value.fail("a key of at most 200 bytes");
        }
    }

    // Puts the map that "<<" names in its place: its keys behind the map's own, which win.
    void finishMap(Value& map) {
        auto& entries = std::get<Value::Map>(map.data);
        std::unordered_set<std::string_view> keys;
        for (const auto& [key, value] : entries) {
            if (!keys.insert(key.text()).second) key.fail("every key once");
        }
        if (map.find("<<") == nullptr) return;
        const auto merged =
            std::find_if(entries.begin(), entries.end(), [](const auto& entry) { return entry.first.text() == "<<"; });
        const Value others = std::move(merged->second);
        if (!others.isMap()) others.fail("a map to merge");
        entries.erase(merged);
        map.merge(others);
    }

    std::vector<Open> mOpen;
    std::map<YAML::anchor_t, Value> mAnchors;
    size_t mValues = 0;
};

// Every request gets a copy of what the requests share.
void spreadDefaults(Value& root) {
    if (root.find("defaults") == nullptr || root.find("requests") == nullptr) return;
    const Value defaults = std::exchange(root["defaults"], Value(Value::Map()));
    auto* const requests = std::get_if<Value::List>(&root["requests"].data);
    if (requests == nullptr) return;
    size_t values = 0;
    measure(defaults, values);
    if (requests->size() * values > kMostValues) defaults.fail("less for so many requests", "more");
    for (Value& request : *requests) {
        if (request.isMap()) request.merge(defaults);
    }
}

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

// Says in which file it is that `read` finds wrong.
template <typename Read>
auto inFile(const std::string& file, Read read) {
    try {
        return read();
    } catch (const PlacedError& error) {
        throw InputError(printable(file) + ':' + std::to_string(error.place.line) + ':' +
                         std::to_string(error.place.column) + ": " + error.what());
    }
}

}  // namespace

Value parseYaml(const std::string& text) {
    std::istringstream stream(text);
    Builder builder;
    try {
        YAML::Parser parser(stream);
        parser.HandleNextDocument(builder);
        if (builder.root) parser.HandleNextDocument(builder);  // which says so where there is a second
    } catch (const YAML::ParserException& error) {
        throw PlacedError(placeOf(error.mark), "YAML", printable(error.msg));
    }
    Value nothing;
    nothing.place = {1, 1};
    return builder.root ? std::move(*builder.root) : nothing;
}

Document parseDocument(const std::string& file, std::string text) {
    if (text.size() > kLongestCase) {
        throw InputError(printable(file) + ": expected a case file of at most 16 MiB, or a log, found more");
    }
    const bool isRecorded = text.compare(0, 12, "recorded: 1\n") == 0;
    Document document = {file, {}, isRecorded ? cutRecorded(text) : ""};
    document.root = inFile(file, [&text] { return parseYaml(text); });
    inFile(file, [&document] { spreadDefaults(document.root); });
    return document;
}

Case readCase(const Document& document) {
    Case result = inFile(document.file, [&document] { return readValue(document.root); });
    result.file = document.file;
    result.cutOff = document.cutOff;
    return result;
}

}  // namespace replay
