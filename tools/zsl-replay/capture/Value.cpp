#include "capture/Value.h"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_set>

namespace replay {

namespace {

std::string shown(const Value& value) {
    if (value.isNull()) return "nothing";
    if (value.isMap()) return "a map";
    if (value.isList()) return "a list";
    return '"' + printable(std::string_view(std::get<std::string>(value.data)).substr(0, 60)) + '"';
}

const std::string& keyOf(const std::pair<Value, Value>& entry) { return std::get<std::string>(entry.first.data); }

}  // namespace

void Value::fail(const std::string& expected) const { fail(expected, shown(*this)); }

void Value::fail(const std::string& expected, const std::string& found) const {
    throw PlacedError(place, expected, found);
}

const Value* Value::find(std::string_view key) const {
    if (!isMap()) return nullptr;
    const Map& entries = std::get<Map>(data);
    const auto isIt = [key](const auto& entry) { return keyOf(entry) == key; };
    const auto entry = std::find_if(entries.begin(), entries.end(), isIt);
    return entry != entries.end() ? &entry->second : nullptr;
}

const Value& Value::at(const char* key) const {
    const Value* const found = find(key);
    if (found == nullptr) fail(fmt::format("the key \"{}\"", key), "none");
    return *found;
}

Value& Value::operator[](std::string_view key) {
    const Value* const found = find(key);
    if (found != nullptr) return const_cast<Value&>(*found);
    return std::get<Map>(data).emplace_back(std::string(key), Value()).second;
}

void Value::merge(const Value& others) {
    if (others.map().empty()) return;
    Map& entries = std::get<Map>(data);
    std::unordered_set<std::string> keys;
    for (const auto& entry : entries) keys.insert(keyOf(entry));
    for (const auto& entry : others.map()) {
        if (keys.count(keyOf(entry)) == 0) entries.push_back(entry);
    }
}

const Value::Map& Value::map() const {
    if (!isMap()) fail("a map");
    return std::get<Map>(data);
}

const Value::Map& Value::map(const Words& keys) const {
    for (const auto& [key, value] : map()) key.oneOf(keys, "one of the keys ");
    return map();
}

const Value::List& Value::list(const char* expected) const {
    if (!isList()) fail(expected);
    return std::get<List>(data);
}

const std::string& Value::text(const char* expected) const {
    if (!isText()) fail(expected);
    return std::get<std::string>(data);
}

size_t Value::oneOf(const Words& words, const char* expected) const {
    const auto found = isText() ? std::find(words.begin(), words.end(), std::get<std::string>(data)) : words.end();
    if (found != words.end()) return static_cast<size_t>(found - words.begin());
    fail(fmt::format("{}{}", expected, fmt::join(words, ", ")));
}

bool Value::boolean() const { return oneOf({"true", "false"}, "one of ") == 0; }

}  // namespace replay
