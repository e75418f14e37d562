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

// Parses a whole decimal or hexadecimal number; false when it is none or out of T's range.
template <typename T>
bool parseNumber(std::string_view text, T& value) {
    std::string digits(text);
    const size_t begin = digits[0] == '-' ? 1 : 0;
    const bool isHex = digits.compare(begin, 2, "0x") == 0 || digits.compare(begin, 2, "0X") == 0;
    if (isHex) digits.erase(begin, 2);
    if (isHex && digits[begin] == '-') return false;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, isHex ? 16 : 10);
    return error == std::errc() && end == digits.data() + digits.size();
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
