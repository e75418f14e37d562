#include "Settings.h"

#include "YamlInput.h"

namespace replay {

namespace {

// Replaces the value at a path such as "queues[1].lost" below a node. Below metadata the rest is a tag name.
void replaceAt(YAML::Node node, const std::string& path, const YAML::Node& value, const std::string& whole) {
    const size_t end = path.find_first_of(".[");
    const std::string key = path.substr(0, end);
    if (end == std::string::npos) {
        node[key] = value;
    } else if (key == "metadata") {
        node[key][path.substr(end + 1)] = value;
    } else if (path[end] == '.') {
        replaceAt(node[key], path.substr(end + 1), value, whole);
    } else {
        const size_t close = path.find(']', end);
        size_t index = 0;
        if (close == std::string::npos || !parseNumber(path.substr(end + 1, close - end - 1), index) ||
            !node[key].IsSequence() || index >= node[key].size()) {
            throw InputError("expected the path of a request's key, found \"" + whole + '"');
        }
        if (close + 1 == path.size()) {
            node[key][index] = value;
        } else {
            replaceAt(node[key][index], path.substr(close + 2), value, whole);
        }
    }
}

}  // namespace

// A shared key is copied into the request before it is changed there.
void apply(const Setting& setting, YAML::Node root) {
    std::string path = setting.path;
    size_t only = 0;
    const size_t colon = path.find(':');
    if (colon != std::string::npos && parseNumber(path.substr(0, colon), only)) path.erase(0, colon + 1);
    if (path.empty() || only > root["requests"].size()) {
        throw InputError("expected the path of a request's key, found \"" + setting.path + '"');
    }
    const YAML::Node value = YAML::Load(setting.value);
    const std::string key = path.substr(0, path.find_first_of(".["));
    for (size_t i = 0; i < root["requests"].size(); ++i) {
        if (only != 0 && i + 1 != only) continue;
        YAML::Node request = root["requests"][i];
        if (!request[key] && root["defaults"] && root["defaults"][key]) {
            request[key] = YAML::Clone(root["defaults"][key]);
        } else if (request[key] && path != key) {
            request[key] = YAML::Clone(request[key]);  // an alias may share it with other requests
        }
        replaceAt(request, path, value, setting.path);
    }
}

}  // namespace replay
