#include "YamlInput.h"

#include <algorithm>
#include <set>

namespace replay {

namespace {

std::string shown(const YAML::Node& node) {
    if (!node.IsDefined() || node.IsNull()) return "nothing";
    if (node.IsMap()) return "a map";
    if (node.IsSequence()) return "a list";
    const std::string text = node.Scalar().substr(0, 60);
    return '"' + text + '"';
}

}  // namespace

void Yaml::fail(const std::string& expected) const {
    const YAML::Mark mark = mNode.IsDefined() ? mNode.Mark() : YAML::Mark::null_mark();
    throw InputError(*mFile + ':' + std::to_string(mark.line + 1) + ':' + std::to_string(mark.column + 1) +
                     ": expected " + expected + ", found " + shown(mNode));
}

const Yaml& Yaml::asMap(std::initializer_list<const char*> keys) const {
    if (!mNode.IsMap()) fail("a map");
    std::set<std::string> seen;
    forEach([&](const Yaml& key, const Yaml&) {
        const std::string name = key.text("a key");
        const auto isKey = [&name](const char* known) { return name == known; };
        if (keys.size() > 0 && std::none_of(keys.begin(), keys.end(), isKey)) {
            std::string known;
            for (const char* each : keys) known += (known.empty() ? "" : ", ") + std::string(each);
            key.fail("one of the keys " + known);
        }
        if (!seen.insert(name).second) key.fail("every key once");
    });
    return *this;
}

void Yaml::forEach(const std::function<void(const Yaml&, const Yaml&)>& visit) const {
    for (const auto& pair : mNode) visit({pair.first, *mFile}, {pair.second, *mFile});
}

std::vector<Yaml> Yaml::elements(const char* expected) const {
    if (!mNode.IsSequence()) fail(expected);
    std::vector<Yaml> result;
    for (const YAML::Node& element : mNode) result.emplace_back(element, *mFile);
    return result;
}

std::string Yaml::text(const char* expected) const {
    if (!mNode.IsScalar()) fail(expected);
    return mNode.Scalar();
}

bool Yaml::boolean() const {
    bool value = false;
    if (!mNode.IsScalar() || !YAML::convert<bool>::decode(mNode, value)) fail("true or false");
    return value;
}

}  // namespace replay
