// Numbers out of text, and text that is safe and pleasant to show.

#pragma once

#include <charconv>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace replay {

// Something in the input that can't be run; what() is ready to print.
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Parses a whole number, decimal or, without a sign, hexadecimal; false when it is none or out of T's range.
template <typename T>
bool parseNumber(std::string_view text, T& value) {
    const bool isHex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') && text[2] != '-';
    if (isHex) text.remove_prefix(2);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, isHex ? 16 : 10);
    return error == std::errc() && end == text.data() + text.size();
}

// What is no UTF-8 in it replaced by U+FFFD.
std::string validUtf8(std::string_view text);

// Text of a log, a case or a command line as it may reach a terminal: control characters, those that turn the direction
// of writing, and what is no UTF-8 come out as "\x1b" or "\u202e". Everything that a person reads passes through here.
std::string printable(std::string_view text);

// Puts one more behind others.
void append(std::string& list, const std::string& each, const char* between = ", ");

// "1 2 3", or "none".
std::string join(const std::vector<uint32_t>& frames);

// The difference of two moments in milliseconds with three decimals and its sign, such as "+60.000 ms".
std::string milliseconds(int64_t ns, int64_t fromNs);

}  // namespace replay
