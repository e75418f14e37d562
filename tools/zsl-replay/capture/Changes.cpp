// Changes of a document from the command line. Nothing is written to: what lies along the path is copied, all else
// shared.

#include <algorithm>

#include "capture/Document.h"

namespace replay {

namespace {

constexpr std::ptrdiff_t kLongestPath = 32;  // keys and indices

// A change stands nowhere in a file.
[[noreturn]] void fail(const std::string& expected, const std::string& found) {
    throw PlacedError({}, expected, printable(found));
}

[[noreturn]] void failPath(std::string_view found) {
    fail("the path of a request's key", '"' + std::string(found) + '"');
}

NodePtr changed(const NodePtr& in, std::string_view path, const NodePtr& value);

// `in`, of which nothing is an empty one, as a list or map of its own to be changed.
template <typename T>
std::shared_ptr<Node> copyAs(const NodePtr& in, std::string_view path) {
    auto out = in != nullptr ? std::make_shared<Node>(*in) : std::make_shared<Node>();
    if (out->data.index() == 0) out->data = T();
    if (!std::holds_alternative<T>(out->data)) failPath(path);
    return out;
}

NodePtr changedList(const NodePtr& in, std::string_view path, const NodePtr& value) {
    const size_t close = path.find(']');
    size_t index = 0;
    if (close == std::string_view::npos || !parseNumber(path.substr(1, close - 1), index)) failPath(path);
    const auto out = copyAs<Node::List>(in, path);
    auto& list = std::get<Node::List>(out->data);
    if (index > list.size()) {
        fail("an index of a list of " + std::to_string(list.size()), '"' + std::string(path) + '"');
    }
    if (index == list.size()) list.emplace_back();
    list[index] = changed(list[index], path.substr(close + 1), value);
    return out;
}

NodePtr changedMap(const NodePtr& in, std::string_view key, std::string_view rest, const NodePtr& value) {
    if (key.empty()) failPath(rest);
    const auto out = copyAs<Node::Map>(in, key);
    auto& map = std::get<Node::Map>(out->data);
    auto at = std::find_if(map.begin(), map.end(), [key](const auto& entry) { return *entry.first->text() == key; });
    if (at == map.end()) at = map.insert(at, {std::make_shared<Node>(Node{{}, 0, std::string(key)}), nullptr});
    // Below metadata the rest of a path is a tag's name.
    const bool isTag = key == "metadata" && rest.size() > 1 && rest[0] == '.';
    at->second = isTag ? changedMap(at->second, rest.substr(1), "", value) : changed(at->second, rest, value);
    return out;
}

NodePtr changed(const NodePtr& in, std::string_view path, const NodePtr& value) {
    if (path.empty()) return value;
    if (path[0] == '[') return changedList(in, path, value);
    if (path[0] == '.') path.remove_prefix(1);
    const size_t end = std::min(path.find_first_of(".["), path.size());
    return changedMap(in, path.substr(0, end), path.substr(end), value);
}

// One request; what the requests share it gets for its own.
NodePtr changedRequest(const Node& root, const NodePtr& request, std::string_view path, const NodePtr& value) {
    const auto own = std::make_shared<Node>(*request);
    if (const NodePtr defaults = find(root, "defaults")) merge(*own, *defaults);
    return changed(own, path, value);
}

Node::List requestsOf(const Node& root) {
    const NodePtr requests = find(root, "requests");
    return requests != nullptr && requests->list() != nullptr ? *requests->list() : Node::List();
}

NodePtr withRequests(const NodePtr& root, Node::List requests) {
    return changed(root, "requests", std::make_shared<Node>(Node{{}, 0, std::move(requests)}));
}

// KEY=VALUE: the key is the path of a request's key, such as "queues[1].lost" or "metadata.nexaro.hdr.enabled", in
// every request, or in request N (from 1) when it starts with "N:"; a list's next index appends. The value is YAML.
NodePtr withSetting(const NodePtr& root, const std::string& setting) {
    const size_t equals = setting.find('=');
    if (equals == std::string::npos) fail("KEY=VALUE", "no \"=\"");
    std::string path = setting.substr(0, equals);
    Node::List requests = requestsOf(*root);
    size_t only = 0;
    const size_t colon = path.find(':');
    const bool isNumbered = colon != std::string::npos && parseNumber(path.substr(0, colon), only);
    if (isNumbered && (only < 1 || only > requests.size())) {
        fail("a request from 1 to " + std::to_string(requests.size()), path.substr(0, colon));
    }
    if (isNumbered) path.erase(0, colon + 1);
    if (std::count_if(path.begin(), path.end(), [](char c) { return c == '.' || c == '['; }) > kLongestPath) {
        failPath(path);
    }
    const NodePtr value = parseYaml(setting.substr(equals + 1));
    for (size_t i = 0; i < requests.size(); ++i) {
        if (!isNumbered || i + 1 == only) requests[i] = changedRequest(*root, requests[i], path, value);
    }
    return withRequests(root, std::move(requests));
}

// FRAME[@QUEUE]: the queue with that id, or every queue, has lost the frame. `theCase` is what the document reads as.
NodePtr withoutFrame(const NodePtr& root, const Case& theCase, const std::string& drop) {
    const size_t at = drop.find('@');
    uint32_t frame = 0;
    uint32_t id = 0;
    const bool one = at != std::string::npos;
    if (!parseNumber(drop.substr(0, at), frame) || (one && !parseNumber(drop.substr(at + 1), id))) {
        fail("FRAME or FRAME@QUEUE", '"' + drop + '"');
    }
    Node::List requests = requestsOf(*root);
    bool isHeld = false;
    for (size_t i = 0; i < requests.size(); ++i) {
        const std::vector<Queue>& queues = theCase.requests[i].queues;
        for (size_t q = 0; q < queues.size(); ++q) {
            if ((one && queues[q].id != id) || queues[q].held.count(frame) == 0) continue;
            isHeld = true;
            std::string lost = std::to_string(frame);
            for (const auto& [number, data] : queues[q].lost) lost += ", " + std::to_string(number);
            const std::string path = "queues[" + std::to_string(q) + "].lost";
            requests[i] = changedRequest(*root, requests[i], path, parseYaml('[' + lost + ']'));
        }
    }
    if (!isHeld) {
        fail("a frame that " + (one ? "queue " + std::to_string(id) : std::string("a queue")) + " holds",
             std::to_string(frame));
    }
    return withRequests(root, std::move(requests));
}

}  // namespace

std::string Changes::words() const {
    std::string text;
    for (const std::string& setting : settings) text += (text.empty() ? "--set " : " --set ") + setting;
    for (const std::string& drop : drops) text += (text.empty() ? "--drop " : " --drop ") + drop;
    return text;
}

Document withChanges(const Document& document, const Changes& changes) {
    Document result = document;
    const auto apply = [&result](const std::string& change, const auto& changedRoot) {
        try {
            result.root = changedRoot();
            readNodes(result);
        } catch (const PlacedError& error) {
            throw InputError(printable(change) + ": " + error.what());
        }
    };
    for (const std::string& setting : changes.settings) {
        apply("--set " + setting, [&] { return withSetting(result.root, setting); });
    }
    for (const std::string& drop : changes.drops) {
        apply("--drop " + drop, [&] { return withoutFrame(result.root, readNodes(result), drop); });
    }
    return result;
}

}  // namespace replay
