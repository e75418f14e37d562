// Changes of a document from the command line. Nothing is written to: what lies along the path is copied, all else
// shared.

#include <algorithm>

#include "capture/Document.h"

namespace replay {

namespace {

constexpr std::ptrdiff_t kLongestPath = 32;  // keys and indices

// A change stands nowhere in a file.
class ChangeError : public std::runtime_error {
public:
    ChangeError(const std::string& expected, const std::string& found)
        : std::runtime_error("expected " + expected + ", found " + found) {}
};

[[noreturn]] void failPath(const std::string& found) {
    throw ChangeError("the path of a request's key", quoted(found));
}

NodePtr changed(const NodePtr& in, const std::string& path, const NodePtr& value);

NodePtr changedList(const NodePtr& in, const std::string& path, const NodePtr& value) {
    static const Node::List kNothing;
    const bool isNothing = in == nullptr || in->data.index() == 0;
    const Node::List* list = isNothing ? &kNothing : in->list();
    const size_t close = path.find(']');
    size_t index = 0;
    if (close == std::string::npos || !parseNumber(path.substr(1, close - 1), index)) failPath(path);
    if (close + 1 < path.size() && path[close + 1] != '.' && path[close + 1] != '[') failPath(path);
    if (list == nullptr || index > list->size()) {
        throw ChangeError("an index of a list of " + std::to_string(list != nullptr ? list->size() : 0), quoted(path));
    }
    Node::List out = *list;
    if (index == out.size()) out.emplace_back();
    out[index] = changed(out[index], path.substr(close + 1), value);
    return makeList(std::move(out));
}

NodePtr changedMap(const NodePtr& in, const std::string& key, const std::string& rest, const NodePtr& value) {
    const bool isNothing = in == nullptr || in->data.index() == 0;
    if (key.empty() || (!isNothing && in->map() == nullptr)) failPath(key + rest);
    const NodePtr* before = find(in, key);
    const NodePtr old = before != nullptr ? *before : nullptr;
    // Below metadata the rest of a path is a tag's name.
    const bool isTag = key == "metadata" && rest.size() > 1 && rest[0] == '.';
    return withKey(in, key, isTag ? changedMap(old, rest.substr(1), "", value) : changed(old, rest, value));
}

NodePtr changed(const NodePtr& in, const std::string& path, const NodePtr& value) {
    if (path.empty()) return value;
    if (path[0] == '[') return changedList(in, path, value);
    const std::string keys = path[0] == '.' ? path.substr(1) : path;
    const size_t end = std::min(keys.find_first_of(".["), keys.size());
    return changedMap(in, keys.substr(0, end), keys.substr(end), value);
}

// The same of one request. Where it changes a part of what the requests share, the request gets its own copy.
NodePtr changedRequest(const NodePtr& request, const NodePtr* defaults, const std::string& path, const NodePtr& value) {
    const std::string key = path.substr(0, path.find_first_of(".["));
    const NodePtr* shared = defaults != nullptr ? find(*defaults, key) : nullptr;
    if (path == key || shared == nullptr || find(request, key) != nullptr) return changed(request, path, value);
    return changed(withKey(request, key, *shared), path, value);
}

// Every request as change(number from 0, request) gives it.
template <typename Change>
NodePtr withRequests(const NodePtr& root, Change change) {
    const NodePtr* requests = find(root, "requests");
    if (requests == nullptr || (*requests)->list() == nullptr) return root;
    Node::List all = *(*requests)->list();
    for (size_t i = 0; i < all.size(); ++i) all[i] = change(i, all[i]);
    return withKey(root, "requests", makeList(std::move(all)));
}

size_t requestCount(const NodePtr& root) {
    const NodePtr* requests = find(root, "requests");
    return requests != nullptr && (*requests)->list() != nullptr ? (*requests)->list()->size() : 0;
}

// KEY=VALUE: the key is the path of a request's key, such as "queues[1].lost" or "metadata.nexaro.hdr.enabled", in
// every request, or in request N (from 1) when it starts with "N:"; a list's next index appends. The value is YAML.
NodePtr withSetting(const NodePtr& root, const std::string& setting) {
    const size_t equals = setting.find('=');
    if (equals == std::string::npos) throw ChangeError("KEY=VALUE", "no \"=\"");
    std::string path = setting.substr(0, equals);
    const size_t count = requestCount(root);
    size_t only = 0;
    const size_t colon = path.find(':');
    const bool isNumbered = colon != std::string::npos && parseNumber(path.substr(0, colon), only);
    if (isNumbered && (only < 1 || only > count)) {
        throw ChangeError("a request from 1 to " + std::to_string(count), path.substr(0, colon));
    }
    if (isNumbered) path.erase(0, colon + 1);
    if (std::count_if(path.begin(), path.end(), [](char c) { return c == '.' || c == '['; }) > kLongestPath) {
        failPath(path);
    }
    const NodePtr value = parseYaml(setting.substr(equals + 1));
    const NodePtr* const defaults = find(root, "defaults");
    return withRequests(root, [&](size_t i, const NodePtr& request) {
        return !isNumbered || i + 1 == only ? changedRequest(request, defaults, path, value) : request;
    });
}

// FRAME[@QUEUE]: the queue with that id, or every queue, has lost the frame. `theCase` is what the document reads as.
NodePtr withoutFrame(const NodePtr& root, const Case& theCase, const std::string& drop) {
    const size_t at = drop.find('@');
    uint32_t frame = 0;
    uint32_t id = 0;
    const bool one = at != std::string::npos;
    if (!parseNumber(drop.substr(0, at), frame) || (one && !parseNumber(drop.substr(at + 1), id))) {
        throw ChangeError("FRAME or FRAME@QUEUE", quoted(drop));
    }
    const NodePtr* const defaults = find(root, "defaults");
    bool isHeld = false;
    NodePtr result = withRequests(root, [&](size_t i, NodePtr request) {
        const std::vector<Queue>& queues = theCase.requests[i].queues;
        for (size_t q = 0; q < queues.size(); ++q) {
            if ((one && queues[q].id != id) || queues[q].held.count(frame) == 0) continue;
            isHeld = true;
            Node::List lost;
            for (const auto& [number, data] : queues[q].lost) lost.push_back(makeNumber(number));
            lost.push_back(makeNumber(frame));
            const std::string path = "queues[" + std::to_string(q) + "].lost";
            request = changedRequest(request, defaults, path, makeList(std::move(lost)));
        }
        return request;
    });
    if (!isHeld) {
        throw ChangeError("a frame that " + (one ? "queue " + std::to_string(id) : std::string("a queue")) + " holds",
                          std::to_string(frame));
    }
    return result;
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
            result = Document(result.file(), changedRoot(), result.cutOff());
            readNodes(result);
        } catch (const std::runtime_error& error) {
            throw InputError(printable(change) + ": " + error.what());
        }
    };
    for (const std::string& setting : changes.settings) {
        apply("--set " + setting, [&] { return withSetting(result.root(), setting); });
    }
    for (const std::string& drop : changes.drops) {
        apply("--drop " + drop, [&] { return withoutFrame(result.root(), readNodes(result), drop); });
    }
    return result;
}

Document expecting(const Document& document, const std::vector<Expectation>& expectations) {
    NodePtr root = withRequests(document.root(), [&expectations](size_t i, const NodePtr& request) {
        return withKey(request, "expect", nodeOf(expectations.at(i)));
    });
    return {document.file(), std::move(root), document.cutOff()};
}

}  // namespace replay
