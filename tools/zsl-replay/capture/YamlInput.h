// Typed access to YAML that says where and how the input is wrong.

#pragma once

#include <yaml-cpp/yaml.h>

#include <functional>
#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

#include "capture/Case.h"
#include "capture/Text.h"

namespace replay {

// "line:column", counted from 1.
std::string position(const YAML::Mark& mark);

// A YAML node and the file it stands in.
class Yaml {
public:
    // A map's merge key ("<<") is resolved.
    Yaml(const YAML::Node& node, const std::string& file);

    // "file:line:column: expected ..., found ..."
    [[noreturn]] void fail(const std::string& expected) const;

    explicit operator bool() const { return mNode.IsDefined(); }
    bool isNull() const { return type() == YAML::NodeType::Null; }
    bool isMap() const { return type() == YAML::NodeType::Map; }
    bool isSequence() const { return type() == YAML::NodeType::Sequence; }
    bool isScalar() const { return type() == YAML::NodeType::Scalar; }

    // Requires a map whose keys are among these; without keys, any map. No key may stand twice.
    const Yaml& asMap(std::initializer_list<const char*> keys = {}) const;
    Yaml operator[](const char* key) const;
    void forEach(const std::function<void(const Yaml& key, const Yaml& value)>& visit) const;
    std::vector<Yaml> elements(const char* expected) const;

    std::string text(const char* expected) const;
    bool boolean() const;
    double real() const;

    template <typename T>
    T number(T least = std::numeric_limits<T>::min(), T most = std::numeric_limits<T>::max()) const {
        T value = 0;
        if (!isScalar() || !parseNumber(mNode.Scalar(), value) || value < least || value > most) {
            fail("a whole number from " + std::to_string(least) + " to " + std::to_string(most));
        }
        return value;
    }

private:
    YAML::NodeType::value type() const { return mNode.IsDefined() ? mNode.Type() : YAML::NodeType::Undefined; }

    YAML::Node mNode;
    YAML::Mark mMark;      // of the map where a key is missing
    std::string mMissing;  // the key
    const std::string* mFile;
};

}  // namespace replay
