#include "capture/YamlInput.h"

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

// A map may name one that names a third, and so on; one that names itself comes to an end.
YAML::Node resolveMerge(const YAML::Node& node, int depth = 8) {
    if (depth == 0 || !node.IsMap() || !node["<<"] || !node["<<"].IsMap()) return node;
    YAML::Node merged(YAML::NodeType::Map);
    for (const auto& pair : node) {
        if (pair.first.Scalar() != "<<") merged.force_insert(pair.first, pair.second);
    }
    for (const auto& pair : resolveMerge(node["<<"], depth - 1)) {
        if (!node[pair.first.Scalar()]) merged.force_insert(pair.first, pair.second);
    }
    return merged;
}

}  // namespace

std::string position(const YAML::Mark& mark) {
    return std::to_string(std::max(mark.line, 0) + 1) + ':' + std::to_string(std::max(mark.column, 0) + 1);
}

Yaml::Yaml(const YAML::Node& node, const std::string& file)
    : mNode(node.IsDefined() ? resolveMerge(node) : node),
      mMark(node.IsDefined() ? node.Mark() : YAML::Mark::null_mark()),
      mFile(&file) {}

Yaml Yaml::operator[](const char* key) const {
    Yaml child(mNode[key], *mFile);
    if (!child) {
        child.mMark = mMark;
        child.mMissing = key;
    }
    return child;
}

void Yaml::fail(const std::string& expected) const {
    throw InputError(*mFile + ':' + position(mMark) + ": expected " + expected + ", found " +
                     (mMissing.empty() ? shown(mNode) : "no \"" + mMissing + '"'));
}

const Yaml& Yaml::asMap(std::initializer_list<const char*> keys) const {
    if (!isMap()) fail("a map");
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
    if (!isSequence()) fail(expected);
    std::vector<Yaml> result;
    for (const YAML::Node& element : mNode) result.emplace_back(element, *mFile);
    return result;
}

std::string Yaml::text(const char* expected) const {
    if (!isScalar()) fail(expected);
    return mNode.Scalar();
}

bool Yaml::boolean() const {
    bool value = false;
    if (!isScalar() || !YAML::convert<bool>::decode(mNode, value)) fail("true or false");
    return value;
}

double Yaml::real() const {
    double value = 0;
    if (!isScalar() || !YAML::convert<double>::decode(mNode, value)) fail("a number");
    return value;
}

}  // namespace replay
