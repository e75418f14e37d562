// A document as text: short things on one line, long ones spread out.

#include <algorithm>
#include <ostream>

#include "capture/Document.h"

namespace replay {

namespace {

constexpr size_t kLineWidth = 120;

bool isPlain(const std::string& text) {
    static constexpr char kPlain[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_./+-()@ ";
    const auto isWordOrNumber = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; };
    if (text.empty() || text.find_first_not_of(kPlain) != std::string::npos || text.back() == ' ') return false;
    const bool isNull = text == "null" || text == "Null" || text == "NULL";
    return !isNull && (isWordOrNumber(text[0]) || (text[0] == '-' && text.size() > 1 && isWordOrNumber(text[1])));
}

std::string textOf(const std::string& text) { return isPlain(text) ? text : quoted(text); }

// Whether it takes lines of its own where it is long: a list or map that holds another, or messages.
bool isSpread(const NodePtr& node) {
    const auto isLarge = [](const NodePtr& each) {
        const bool holds = (each->list() != nullptr && !each->list()->empty()) || each->map() != nullptr;
        return holds || (each->text() != nullptr && each->text()->size() > kLineWidth / 4);
    };
    if (const Node::List* list = node->list()) return std::any_of(list->begin(), list->end(), isLarge);
    const Node::Map* map = node->map();
    return map != nullptr && !map->empty();
}

class Printer {
public:
    explicit Printer(std::ostream& out) : mOut(out) {}

    // Keys on lines of their own, the first where the line has got to.
    void entries(const Node::Map& map, size_t indent) {
        for (const auto& [key, each] : map) {
            if (&key != &map.front().first) newLine(indent);
            put(textOf(*key->text()) + ':');
            if (fits(each)) {
                put(" ");
                flow(each, indent + 2);
            } else if (each->list() != nullptr) {
                elements(*each->list(), indent);
            } else {
                newLine(indent + 2);
                entries(*each->map(), indent + 2);
            }
        }
    }

    void elements(const Node::List& list, size_t indent) {
        for (const NodePtr& each : list) {
            newLine(indent);
            put("- ");
            if (fits(each) || each->map() == nullptr) {
                flow(each, indent + 2);
            } else {
                entries(*each->map(), indent + 2);
            }
        }
    }

    void newLine(size_t indent) {
        mOut << '\n' << std::string(indent, ' ');
        mColumn = indent;
    }

    void put(const std::string& text) {
        mOut << text;
        mColumn += text.size();
    }

private:
    // Whether it is printed in flow style here.
    bool fits(const NodePtr& node) const {
        return !isSpread(node) || mColumn + 1 + flowWidth(node, kLineWidth) <= kLineWidth;
    }

    // Characters of the flow style, counted up to about a limit.
    static size_t flowWidth(const NodePtr& node, size_t most) {
        if (const std::string* text = node->text()) return textOf(*text).size();
        size_t width = 2;
        if (const Node::List* list = node->list()) {
            for (auto at = list->begin(); at != list->end() && width <= most; ++at) width += flowWidth(*at, most) + 2;
        } else if (const Node::Map* map = node->map()) {
            for (auto at = map->begin(); at != map->end() && width <= most; ++at) {
                width += textOf(*at->first->text()).size() + flowWidth(at->second, most) + 4;
            }
        }
        return width;
    }

    void flow(const NodePtr& node, size_t indent) {
        if (const std::string* text = node->text()) return put(textOf(*text));
        const Node::List* list = node->list();
        const Node::Map* map = node->map();
        if (list == nullptr && map == nullptr) return put("null");
        put(list != nullptr ? "[" : "{");
        const size_t count = list != nullptr ? list->size() : map->size();
        for (size_t i = 0; i < count; ++i) {
            const std::string key = list != nullptr ? "" : textOf(*(*map)[i].first->text()) + ": ";
            const NodePtr& value = list != nullptr ? (*list)[i] : (*map)[i].second;
            const bool isOnNext =
                mColumn + key.size() + std::min(flowWidth(value, kLineWidth), kLineWidth / 2) + 3 > kLineWidth;
            if (i > 0) put(",");
            if (i > 0 && isOnNext) newLine(indent);
            if (i > 0 && !isOnNext) put(" ");
            put(key);
            flow(value, indent);
        }
        put(list != nullptr ? "]" : "}");
    }

    std::ostream& mOut;
    size_t mColumn = 0;
};

void printComments(std::ostream& out, const std::vector<std::string>& comments) {
    for (const std::string& comment : comments) out << "# " << printable(comment) << '\n';
}

}  // namespace

void printHead(std::ostream& out, const Document& document, const std::vector<std::string>& comments) {
    printComments(out, comments);
    for (const auto& entry : *document.root()->map()) {
        if (*entry.first->text() == "requests") continue;
        Printer(out).entries({entry}, 0);
        out << '\n';
    }
    out << "requests:\n";
}

void printRequests(std::ostream& out, const Document& document,
                   const std::vector<std::vector<std::string>>& commentsByRequest) {
    const NodePtr* const requests = find(document.root(), "requests");
    const Node::List& list = *(*requests)->list();
    if (list.empty()) out << "  []\n";
    for (size_t i = 0; i < list.size(); ++i) {
        if (i < commentsByRequest.size()) printComments(out, commentsByRequest[i]);
        Printer printer(out);
        printer.put("- ");
        if (list[i]->map()->empty()) printer.put("{}");
        printer.entries(*list[i]->map(), 2);
        printer.put(find(document.root(), "recorded") != nullptr ? "\n# end\n" : "\n");  // whole, as a recorder says
    }
}

}  // namespace replay
