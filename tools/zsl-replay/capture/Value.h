// YAML as plain data that knows where it was written, and typed reading of it that says where and how it is wrong.

#pragma once

#include <limits>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
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

// Null, text, a list or a map. Everything that reads throws PlacedError.
struct Value {
    using List = std::vector<Value>;
    using Map = std::vector<std::pair<Value, Value>>;  // keys are text and stand once; in the order of the file
    using Words = std::vector<std::string>;

    Place place;
    std::variant<std::monostate, std::string, List, Map> data;

    Value() = default;
    Value(std::string text) : data(std::move(text)) {}
    Value(const char* text) : data(std::string(text)) {}
    Value(bool answer) : Value(answer ? "true" : "false") {}
    Value(List list) : data(std::move(list)) {}
    Value(Map map) : data(std::move(map)) {}
    template <typename T, typename = std::enable_if_t<std::is_integral_v<T>>>
    Value(T number) : data(std::to_string(number)) {}
    template <typename T>
    Value(const std::vector<T>& elements) : data(List(elements.begin(), elements.end())) {}
    template <typename... T>
    Value(const std::map<T...>& entries) : data(Map(entries.begin(), entries.end())) {}
    template <typename T>
    Value(const std::optional<T>& value) : Value(value ? Value(*value) : Value()) {}

    bool isNull() const { return std::holds_alternative<std::monostate>(data); }
    bool isText() const { return std::holds_alternative<std::string>(data); }
    bool isList() const { return std::holds_alternative<List>(data); }
    bool isMap() const { return std::holds_alternative<Map>(data); }

    [[noreturn]] void fail(const std::string& expected) const;
    [[noreturn]] void fail(const std::string& expected, const std::string& found) const;

    // The value of a key; null where there is none, as in what is no map.
    const Value* find(std::string_view key) const;
    const Value& at(const char* key) const;

    // The value of a map's key, put there as null where there is none.
    Value& operator[](std::string_view key);

    // Puts the entries of another map whose keys this map lacks behind its own.
    void merge(const Value& others);

    const Map& map() const;
    const Map& map(const Words& keys) const;  // with no keys but these
    const List& list(const char* expected = "a list") const;
    const std::string& text(const char* expected = "text") const;
    size_t oneOf(const Words& words, const char* expected) const;  // which; expected "one of the keys", before them
    bool boolean() const;

    template <typename T>
    T number(T least = std::numeric_limits<T>::min(), T most = std::numeric_limits<T>::max()) const {
        T value = 0;
        if (!isText() || !parseNumber(std::get<std::string>(data), value) || value < least || value > most) {
            fail("a whole number from " + std::to_string(least) + " to " + std::to_string(most));
        }
        return value;
    }

    // Sets `out`, where the key is given.
    template <typename T>
    void read(const char* key, T& out) const {
        if (const Value* const found = find(key)) found->get(out);
    }

private:
    template <typename T>
    void get(T& out) const {
        out = number<T>();
    }
    void get(bool& out) const { out = boolean(); }
    void get(std::string& out) const { out = text(); }
    template <typename T>
    void get(std::optional<T>& out) const {
        get(out.emplace());
    }
    template <typename T>
    void get(std::vector<T>& out) const {
        for (const Value& each : list()) each.get(out.emplace_back());
    }
};

}  // namespace replay
