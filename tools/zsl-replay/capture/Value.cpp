#include "capture/Value.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>

namespace replay {

namespace {

std::string shown(const Node* node) {
    if (node == nullptr || node->data.index() == 0) return "nothing";
    if (node->map() != nullptr) return "a map";
    if (node->list() != nullptr) return "a list";
    return '"' + printable(std::string_view(*node->text()).substr(0, 60)) + '"';
}

}  // namespace

NodePtr makeText(std::string text) { return std::make_shared<Node>(Node{{}, 0, std::move(text)}); }

NodePtr makeList(Node::List elements) { return std::make_shared<Node>(Node{{}, 0, std::move(elements)}); }

MapMaker& MapMaker::set(const std::string& key, NodePtr value) {
    mMap.emplace_back(makeText(key), std::move(value));
    return *this;
}

const NodePtr* find(const NodePtr& map, const std::string& key) {
    if (map == nullptr || map->map() == nullptr) return nullptr;
    for (const auto& [name, value] : *map->map()) {
        if (*name->text() == key) return &value;
    }
    return nullptr;
}

NodePtr withKey(const NodePtr& map, const std::string& key, NodePtr value) {
    Node out = map != nullptr && map->map() != nullptr ? *map : Node{{}, 0, Node::Map()};
    auto& entries = std::get<Node::Map>(out.data);
    const auto found =
        std::find_if(entries.begin(), entries.end(), [&key](const auto& entry) { return *entry.first->text() == key; });
    if (found != entries.end()) {
        found->second = std::move(value);
    } else {
        entries.emplace_back(makeText(key), std::move(value));
    }
    return std::make_shared<Node>(std::move(out));
}

void Value::fail(const std::string& expected) const {
    fail(expected, mMissing != nullptr ? std::string("no \"") + mMissing + '"' : shown(mNode));
}

void Value::fail(const std::string& expected, const std::string& found) const {
    throw PlacedError(mPlace, "expected " + expected + ", found " + found);
}

const Value& Value::asMap(std::initializer_list<const char*> keys) const {
    if (!isMap()) fail("a map");
    forEach([keys](const Value& key, const Value&) {
        const auto isKey = [&key](const char* known) { return *key.mNode->text() == known; };
        if (keys.size() == 0 || std::any_of(keys.begin(), keys.end(), isKey)) return;
        std::string known;
        for (const char* each : keys) known += (known.empty() ? "" : ", ") + std::string(each);
        key.fail("one of the keys " + known);
    });
    return *this;
}

Value Value::operator[](const char* key) const {
    if (isMap()) {
        for (const auto& [name, value] : *mNode->map()) {
            if (*name->text() == key) return Value(value);
        }
    }
    return {mPlace, key};
}

std::vector<Value> Value::elements(const char* expected) const {
    if (!isList()) fail(expected);
    std::vector<Value> result;
    result.reserve(mNode->list()->size());
    for (const NodePtr& element : *mNode->list()) result.emplace_back(element);
    return result;
}

const std::string& Value::text(const char* expected) const {
    if (!isText()) fail(expected);
    return *mNode->text();
}

bool Value::boolean() const {
    std::string word = text("true or false");
    std::transform(word.begin(), word.end(), word.begin(), [](unsigned char c) { return std::tolower(c); });
    for (const char* yes : {"true", "yes", "on", "y"}) {
        if (word == yes) return true;
    }
    for (const char* no : {"false", "no", "off", "n"}) {
        if (word == no) return false;
    }
    fail("true or false");
}

double Value::real() const {
    const std::string& text = this->text("a number");
    double value = 0;
    int64_t whole = 0;
    if (parseNumber(text, whole)) return static_cast<double>(whole);
    if (text == ".inf" || text == "-.inf") {
        return (text[0] == '-' ? -1 : 1) * std::numeric_limits<double>::infinity();
    }
    if (text == ".nan") return std::numeric_limits<double>::quiet_NaN();
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) fail("a number");
    return value;
}

}  // namespace replay
