#include "capture/Value.h"

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <unordered_set>

namespace replay {

namespace {

std::string shown(const Node* node) {
    if (node == nullptr || node->data.index() == 0) return "nothing";
    if (node->map() != nullptr) return "a map";
    if (node->list() != nullptr) return "a list";
    return '"' + printable(std::string_view(*node->text()).substr(0, 60)) + '"';
}

}  // namespace

NodePtr find(const Node& map, std::string_view key) {
    if (map.map() == nullptr) return nullptr;
    for (const auto& [name, value] : *map.map()) {
        if (*name->text() == key) return value;
    }
    return nullptr;
}

void merge(Node& map, const Node& others) {
    auto* const entries = std::get_if<Node::Map>(&map.data);
    if (entries == nullptr || others.map() == nullptr) return;
    std::unordered_set<std::string_view> keys;
    for (const auto& [key, value] : *entries) keys.insert(*key->text());
    for (const auto& entry : *others.map()) {
        if (keys.insert(*entry.first->text()).second) entries->push_back(entry);
    }
}

void Value::fail(const std::string& expected) const {
    fail(expected, mMissing != nullptr ? std::string("no \"") + mMissing + '"' : shown(mNode));
}

void Value::fail(const std::string& expected, const std::string& found) const {
    throw PlacedError(mPlace, expected, found);
}

const Value& Value::asMap(const Words& keys) const {
    if (!isMap()) fail("a map");
    if (!keys.empty()) forEach([&keys](const Value& key, const Value&) { key.oneOf(keys, "one of the keys "); });
    return *this;
}

Value Value::operator[](const char* key) const {
    const NodePtr found = mNode != nullptr ? find(*mNode, key) : nullptr;  // lives on in the map
    return found != nullptr ? Value(found) : Value(mPlace, key);
}

std::vector<Value> Value::elements(const char* expected) const {
    if (!isList()) fail(expected);
    return std::vector<Value>(mNode->list()->begin(), mNode->list()->end());
}

const std::string& Value::text(const char* expected) const {
    if (!isText()) fail(expected);
    return *mNode->text();
}

size_t Value::oneOf(const Words& words, const char* expected) const {
    const auto found = isText() ? std::find(words.begin(), words.end(), *mNode->text()) : words.end();
    if (found != words.end()) return static_cast<size_t>(found - words.begin());
    std::string all;
    for (const std::string& word : words) all += (all.empty() ? "" : ", ") + word;
    fail(expected + all);
}

bool Value::boolean() const {
    const std::string& word = text("true or false");
    if (word != "true" && word != "false") fail("true or false");
    return word == "true";
}

double Value::real() const {
    int64_t whole = 0;
    double value = 0;
    const std::string& text = this->text("a number");
    if (parseNumber(text, whole)) return static_cast<double>(whole);
    if (!YAML::convert<double>::decode(YAML::Node(text), value)) fail("a number");
    return value;
}

}  // namespace replay
