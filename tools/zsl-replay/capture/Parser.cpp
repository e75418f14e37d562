// YAML text into values, in one pass.

#include <fmt/format.h>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <unordered_set>

#include "capture/CaseFile.h"

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

// The map of keys and values that follow each other. What "<<" names comes behind the map's own keys, which win.
Value mapOf(Value::List parts) {
    Value map = Value::Map();
    Value merged = Value::Map();
    std::unordered_set<std::string> keys;
    for (size_t i = 0; i + 1 < parts.size(); i += 2) {
        const Value& key = parts[i];
        if (!key.isText() || key.text().size() > kLongestKey) key.fail("a key of at most 200 bytes");
        if (!keys.insert(key.text()).second) key.fail("every key once");
        if (key.text() == "<<") {
            merged = std::move(parts[i + 1]);
        } else {
            std::get<Value::Map>(map.data).emplace_back(std::move(parts[i]), std::move(parts[i + 1]));
        }
    }
    map.merge(merged);
    return map;
}

// Builds values as the parser meets them.
class Builder : public YAML::EventHandler {
public:
    // Null where there is no document.
    Value document() {
        if (mOpen.front().parts.empty()) add({}, {1, 1}, 0);
        Value document = std::move(mOpen.front().parts.front());
        return document;
    }

    void OnDocumentStart(const YAML::Mark& mark) override {
        if (!mOpen.front().parts.empty()) throw PlacedError(placeOf(mark), "one document", "another");
    }
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark& mark, YAML::anchor_t anchor) override { add({}, placeOf(mark), anchor); }
    void OnScalar(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor, const std::string& text) override {
        add(text, placeOf(mark), anchor);
    }
    void OnSequenceStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor,
                         YAML::EmitterStyle::value) override {
        open(mark, anchor);
    }
    void OnMapStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor,
                    YAML::EmitterStyle::value) override {
        open(mark, anchor);
    }
    void OnSequenceEnd() override { close(std::move(mOpen.back().parts)); }
    void OnMapEnd() override { close(mapOf(std::move(mOpen.back().parts))); }
    void OnAlias(const YAML::Mark& mark, YAML::anchor_t anchor) override {
        const auto found = mAnchors.find(anchor);
        if (found == mAnchors.end()) {
            throw PlacedError(placeOf(mark), "an alias of what is complete", "one of what it stands in");
        }
        add(copyOf(found->second), found->second.place, 0);
    }

private:
    // A list or map that is not complete.
    struct Open {
        Place place;
        YAML::anchor_t anchor = 0;
        Value::List parts;  // of a map keys and values in turn
    };

    void open(const YAML::Mark& mark, YAML::anchor_t anchor) {
        mOpen.push_back({placeOf(mark), anchor, {}});
        limit(placeOf(mark));
    }

    void close(Value value) {
        const Open done = std::move(mOpen.back());
        mOpen.pop_back();
        add(std::move(value), done.place, done.anchor);
    }

    void add(Value value, const Place& place, YAML::anchor_t anchor) {
        value.place = place;
        ++mValues;
        limit(place);
        if (anchor != 0) mAnchors[anchor] = copyOf(value);
        mOpen.back().parts.push_back(std::move(value));
    }

    Value copyOf(const Value& value) {
        limit(value.place, measure(value, mValues));
        return value;
    }

    // Refuses what memory, or the stack where it is read, would not bear.
    void limit(const Place& place, size_t depth = 0) const {
        if (mValues > kMostValues) throw PlacedError(place, fmt::format("at most {} values", kMostValues), "more");
        if (mOpen.size() - 1 + depth > kDeepest) throw PlacedError(place, "lists and maps at most 200 deep", "more");
    }

    std::vector<Open> mOpen{1};  // the first is the list of documents
    std::map<YAML::anchor_t, Value> mAnchors;
    size_t mValues = 0;
};

// Every request gets a copy of what the requests share.
void spreadDefaults(Value& root) {
    const Value* const defaults = root.find("defaults");
    const Value* const requests = root.find("requests");
    if (defaults == nullptr || requests == nullptr || !requests->isList()) return;
    size_t values = 0;
    measure(*defaults, values);
    if (requests->list().size() * values > kMostValues) defaults->fail("less for so many requests", "more");
    for (Value& request : std::get<Value::List>(root["requests"].data)) {
        if (request.isMap()) request.merge(*defaults);
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
    return fmt::format("from line {} on a request that is cut off: it is left out",
                       std::count(text.begin(), text.end(), '\n') + 2);
}

}  // namespace

Value parseYaml(const std::string& text) {
    std::istringstream stream(validUtf8(text));  // what is printed is, too, and reads back as the same
    Builder builder;
    try {
        YAML::Parser parser(stream);
        while (parser.HandleNextDocument(builder)) {
        }
    } catch (const YAML::ParserException& error) {
        throw PlacedError(placeOf(error.mark), "YAML", printable(error.msg));
    }
    return builder.document();
}

Case readCase(const std::string& file, std::string text) {
    if (text.size() > kLongestCase) {
        throw InputError(printable(file) + ": expected a case file of at most 16 MiB, or a log, found more");
    }
    const bool isRecorded = text.compare(0, 12, "recorded: 1\n") == 0;
    const std::string cutOff = isRecorded ? cutRecorded(text) : "";
    try {
        Value root = parseYaml(text);
        spreadDefaults(root);
        Case result = readValue(root);
        result.file = file;
        result.cutOff = cutOff;
        return result;
    } catch (const PlacedError& error) {
        const auto [line, column] = error.place;
        throw InputError(fmt::format("{}:{}:{}: {}", printable(file), line, column, error.what()));
    }
}

}  // namespace replay
