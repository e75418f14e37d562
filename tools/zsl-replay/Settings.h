// Changes of a case from the command line.

#pragma once

#include <yaml-cpp/yaml.h>

#include <string>

namespace replay {

// `path` names a key of every request, such as "queues[1].lost", or of request N (from 1) when it starts with "N:";
// `value` is YAML.
struct Setting {
    std::string path;
    std::string value;
};

// Changes a case file's tree. Throws InputError when there is no such key.
void apply(const Setting& setting, YAML::Node root);

}  // namespace replay
