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

std::string textOf(const std::string& text) { return isPlain(text) ? text : '"' + escaped(text, "\"\\") + '"'; }

// Prints on one line as far as that goes: false, and some of it printed, where it does not fit.
bool printFlow(const NodePtr& node, size_t most, std::string& out) {
    if (const std::string* text = node->text()) {
        out += textOf(*text);
    } else if (const Node::List* list = node->list()) {
        out += '[';
        for (const NodePtr& each : *list) {
            if (&each != &list->front()) out += ", ";
            if (!printFlow(each, most, out)) return false;
        }
        out += ']';
    } else if (const Node::Map* map = node->map()) {
        out += '{';
        for (const auto& [key, value] : *map) {
            if (&key != &map->front().first) out += ", ";
            out += textOf(*key->text()) + ": ";
            if (!printFlow(value, most, out)) return false;
        }
        out += '}';
    } else {
        out += "null";
    }
    return out.size() <= most;
}

// A list of which nothing is long, as numbers are: on as many lines as it takes.
bool printWrapped(const Node::List& list, size_t indent, size_t column, std::string& out) {
    out = "[";
    column += 1;
    for (const NodePtr& each : list) {
        std::string element;
        if (!printFlow(each, kLineWidth / 2, element)) return false;
        const bool isLast = &each == &list.back();
        element += isLast ? "]" : ",";
        if (column + element.size() + 1 > kLineWidth && &each != &list.front()) {
            out += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (&each != &list.front()) {
            out += ' ';
            ++column;
        }
        out += element;
        column += element.size();
    }
    return true;
}

class Printer {
public:
    explicit Printer(std::ostream& out) : mOut(out) {}

    // Prints what stands behind "key:" or "-", with the end of its line. `column` is where that has ended.
    void value(const NodePtr& node, size_t indent, size_t column, bool isElement) {
        std::string flow;
        const bool isSpread = node->list() != nullptr || node->map() != nullptr;
        if (printFlow(node, kLineWidth - std::min(column + 1, kLineWidth), flow) || !isSpread) {
            mOut << ' ' << flow << '\n';
        } else if (node->list() != nullptr && isElement) {
            mOut << '\n';
            elements(*node->list(), indent);
        } else if (node->list() != nullptr) {
            const bool isWrapped =
                isNumbers(*node->list()) && printWrapped(*node->list(), indent + 2, column + 1, flow);
            mOut << (isWrapped ? " " + flow : "") << '\n';
            if (!isWrapped) elements(*node->list(), indent);
        } else {
            mOut << (isElement ? " " : "\n" + std::string(indent, ' '));
            entries(*node->map(), indent);
        }
    }

    void elements(const Node::List& list, size_t indent) {
        for (const NodePtr& each : list) {
            mOut << std::string(indent, ' ') << '-';
            value(each, indent + 2, indent + 1, true);
        }
    }

    // The first where the line has got to, the others on lines of their own.
    void entries(const Node::Map& map, size_t indent) {
        for (const auto& [key, each] : map) {
            if (&key != &map.front().first) mOut << std::string(indent, ' ');
            const std::string name = textOf(*key->text()) + ':';
            mOut << name;
            value(each, each->list() != nullptr ? indent : indent + 2, indent + name.size(), false);
        }
    }

private:
    static bool isNumbers(const Node::List& list) {
        int64_t number = 0;
        return std::all_of(list.begin(), list.end(), [&number](const NodePtr& each) {
            return each->map() != nullptr || (each->text() != nullptr && parseNumber(*each->text(), number));
        });
    }

    std::ostream& mOut;
};

void printComments(std::ostream& out, const std::vector<std::string>& comments) {
    for (const std::string& comment : comments) out << "# " << printable(comment) << '\n';
}

}  // namespace

void printHead(std::ostream& out, const Document& document, const std::vector<std::string>& comments) {
    printComments(out, comments);
    Printer printer(out);
    for (const auto& entry : *document.root()->map()) {
        if (*entry.first->text() != "requests") printer.entries({entry}, 0);
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
        if (list[i]->map()->empty()) {
            out << "- {}\n";
            continue;
        }
        out << "- ";
        Printer(out).entries(*list[i]->map(), 2);
    }
}

}  // namespace replay
