#include "capture/Settings.h"

#include <algorithm>

#include "capture/YamlInput.h"

namespace replay {

namespace {

YAML::Node nothing() { return YAML::Node(YAML::NodeType::Undefined); }

// A map's own value of a key, else that of the map it merges.
YAML::Node valueOf(const YAML::Node& map, const std::string& key, int depth = 8) {
    if (depth == 0 || !map.IsMap()) return nothing();
    YAML::Node merged = nothing();
    for (const auto& pair : map) {
        if (pair.first.Scalar() == key) return pair.second;
        if (pair.first.Scalar() == "<<") merged.reset(pair.second);
    }
    return valueOf(merged, key, depth - 1);
}

[[noreturn]] void failPath(const std::string& found) {
    throw InputError("expected the path of a request's key, found \"" + found + '"');
}

YAML::Node changed(const YAML::Node& in, const std::string& path, const YAML::Node& value);

YAML::Node changedList(const YAML::Node& in, const std::string& path, const YAML::Node& value) {
    const size_t close = path.find(']');
    const size_t count = in.IsSequence() ? in.size() : 0;
    size_t index = 0;
    if (close == std::string::npos || !parseNumber(path.substr(1, close - 1), index)) failPath(path);
    const bool ends = close + 1 == path.size() || path[close + 1] == '.' || path[close + 1] == '[';
    if (!ends) failPath(path);
    if (index > count || (in.IsDefined() && !in.IsNull() && !in.IsSequence())) {
        throw InputError("expected an index of a list of " + std::to_string(count) + ", found \"" + path + '"');
    }
    YAML::Node out(YAML::NodeType::Sequence);
    if (in.IsDefined()) out.SetStyle(in.Style());
    for (size_t i = 0; i < std::max(count, index + 1); ++i) {
        const YAML::Node element = i < count ? in[i] : nothing();
        out.push_back(i == index ? changed(element, path.substr(close + 1), value) : element);
    }
    return out;
}

YAML::Node changedMap(const YAML::Node& in, const std::string& key, const std::string& rest, const YAML::Node& value) {
    if (key.empty() || (in.IsDefined() && !in.IsNull() && !in.IsMap())) failPath(key + rest);
    // Below metadata the rest of a path is a tag's name.
    const YAML::Node before = valueOf(in, key);
    const bool isTag = key == "metadata" && rest.size() > 1 && rest[0] == '.';
    const YAML::Node after = isTag ? changedMap(before, rest.substr(1), "", value) : changed(before, rest, value);
    YAML::Node out(YAML::NodeType::Map);
    if (in.IsMap()) out.SetStyle(in.Style());
    bool replaced = false;
    for (const auto& pair : in.IsMap() ? in : out) {
        const bool isKey = pair.first.Scalar() == key;
        out.force_insert(pair.first, isKey ? after : pair.second);
        replaced |= isKey;
    }
    if (!replaced) out.force_insert(key, after);
    return out;
}

YAML::Node changed(const YAML::Node& in, const std::string& path, const YAML::Node& value) {
    if (path.empty()) return value;
    if (path[0] == '[') return changedList(in, path, value);
    const std::string keys = path[0] == '.' ? path.substr(1) : path;
    const size_t end = std::min(keys.find_first_of(".["), keys.size());
    return changedMap(in, keys.substr(0, end), keys.substr(end), value);
}

}  // namespace

YAML::Node withRequestKey(const YAML::Node& root, size_t request, const std::string& path, const YAML::Node& value) {
    const std::string at = "requests[" + std::to_string(request) + "].";
    const std::string key = path.substr(0, path.find_first_of(".["));
    const YAML::Node shared = valueOf(valueOf(root, "defaults"), key);
    if (path == key || !shared.IsDefined() || valueOf(root["requests"][request], key).IsDefined()) {
        return changed(root, at + path, value);
    }
    return changed(changed(root, at + key, shared), at + path, value);
}

YAML::Node withSetting(const YAML::Node& root, const std::string& setting) {
    const size_t equals = setting.find('=');
    if (equals == std::string::npos) throw InputError("expected KEY=VALUE, found no \"=\"");
    std::string path = setting.substr(0, equals);
    const size_t count = root["requests"].size();
    size_t only = 0;
    const size_t colon = path.find(':');
    const bool numbered = colon != std::string::npos && parseNumber(path.substr(0, colon), only);
    if (numbered) {
        if (only < 1 || only > count) {
            throw InputError("expected a request from 1 to " + std::to_string(count) + ", found " +
                             path.substr(0, colon));
        }
        path.erase(0, colon + 1);
    }
    YAML::Node value;
    try {
        value = YAML::Load(setting.substr(equals + 1));
    } catch (const YAML::Exception& error) {
        throw InputError("expected YAML, found " + error.msg);
    }
    YAML::Node result = root;
    for (size_t i = 0; i < count; ++i) {
        if (!numbered || i + 1 == only) result.reset(withRequestKey(result, i, path, value));
    }
    return result;
}

YAML::Node withoutFrame(const YAML::Node& root, const Case& theCase, const std::string& drop) {
    const size_t at = drop.find('@');
    uint32_t frame = 0;
    uint32_t id = 0;
    if (!parseNumber(drop.substr(0, at), frame) || (at != std::string::npos && !parseNumber(drop.substr(at + 1), id))) {
        throw InputError("expected FRAME or FRAME@QUEUE, found \"" + drop + '"');
    }
    YAML::Node result = root;
    bool held = false;
    for (size_t i = 0; i < theCase.requests.size(); ++i) {
        const std::vector<Queue>& queues = theCase.requests[i].queues;
        for (size_t q = 0; q < queues.size(); ++q) {
            if ((at != std::string::npos && queues[q].id != id) || queues[q].held.count(frame) == 0) continue;
            held = true;
            const std::string path = "queues[" + std::to_string(q) + "].lost";
            YAML::Node lost(YAML::NodeType::Sequence);
            lost.SetStyle(YAML::EmitterStyle::Flow);
            for (const auto& [number, data] : queues[q].lost) lost.push_back(number);
            lost.push_back(frame);
            result.reset(withRequestKey(result, i, path, lost));
        }
    }
    if (!held) {
        throw InputError("expected a frame that " +
                         (at == std::string::npos ? "a queue" : "queue " + drop.substr(at + 1)) + " holds, found " +
                         std::to_string(frame));
    }
    return result;
}

}  // namespace replay
