// YAML as plain data that knows where it was written, and typed reading of it that says where and how it is wrong.

#pragma once

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "capture/Text.h"

namespace replay {

// Counted from 1; 0 for what stands in no file.
struct Place {
    int line = 0;
    int column = 0;
};

// "expected ..., found ...", and where.
class PlacedError : public std::runtime_error {
public:
    PlacedError(const Place& where, const std::string& expected, const std::string& found)
        : std::runtime_error("expected " + expected + ", found " + found), place(where) {}
    Place place;
};

struct Node;
using NodePtr = std::shared_ptr<const Node>;

// Immutable. What an alias names is shared.
struct Node {
    using List = std::vector<NodePtr>;
    using Map = std::vector<std::pair<NodePtr, NodePtr>>;  // keys are text and stand once; in the order of the file

    Place place;
    int depth = 0;                                              // of lists and maps within each other
    std::variant<std::monostate, std::string, List, Map> data;  // the first: null

    const std::string* text() const { return std::get_if<std::string>(&data); }
    const List* list() const { return std::get_if<List>(&data); }
    const Map* map() const { return std::get_if<Map>(&data); }
};

// The value of a key, null where there is none.
NodePtr find(const Node& map, std::string_view key);

// Puts the entries of another map whose keys this one lacks behind its own. Does nothing to what is no map.
void merge(Node& map, const Node& others);

// Reads a node, or one that a map lacks. As short-lived as a reference.
class Value {
public:
    explicit Value(const Node& node) : mNode(&node), mPlace(node.place) {}
    explicit Value(const NodePtr& node) : Value(*node) {}

    // Throws PlacedError.
    [[noreturn]] void fail(const std::string& expected) const;
    [[noreturn]] void fail(const std::string& expected, const std::string& found) const;

    const Node& node() const { return *mNode; }
    explicit operator bool() const { return mNode != nullptr; }
    bool isNull() const { return mNode != nullptr && mNode->data.index() == 0; }
    bool isText() const { return mNode != nullptr && mNode->text() != nullptr; }
    bool isList() const { return mNode != nullptr && mNode->list() != nullptr; }
    bool isMap() const { return mNode != nullptr && mNode->map() != nullptr; }

    // Requires a map whose keys are among these; without keys, any map.
    using Words = std::vector<std::string>;
    const Value& asMap(const Words& keys = {}) const;
    Value operator[](const char* key) const;

    // Calls visit(key, value).
    template <typename Visit>
    void forEach(Visit visit) const {
        for (const auto& [key, value] : *mNode->map()) visit(Value(key), Value(value));
    }

    std::vector<Value> elements(const char* expected) const;
    const std::string& text(const char* expected) const;
    size_t oneOf(const Words& words, const char* expected) const;  // which; expected "one of the keys", before them
    bool boolean() const;
    double real() const;

    template <typename T>
    T number(T least = std::numeric_limits<T>::min(), T most = std::numeric_limits<T>::max()) const {
        T value = 0;
        if (!isText() || !parseNumber(*mNode->text(), value) || value < least || value > most) {
            fail("a whole number from " + std::to_string(least) + " to " + std::to_string(most));
        }
        return value;
    }

private:
    Value(const Place& map, const char* key) : mNode(nullptr), mPlace(map), mMissing(key) {}

    const Node* mNode;
    Place mPlace;                    // of the map where a key is missing
    const char* mMissing = nullptr;  // the key
};

// Sets `value` where the key is given.
template <typename T>
void readNumber(const Value& in, T& value) {
    if (in) value = in.number<T>();
}

}  // namespace replay
