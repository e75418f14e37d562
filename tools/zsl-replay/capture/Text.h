// Numbers out of text, and text that is safe and pleasant to show.

#pragma once

#include <charconv>
#include <cstdint>
#include <limits>
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
    const bool negative = !text.empty() && text[0] == '-';
    if (negative) text.remove_prefix(1);
    const bool hex = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    if (hex) text.remove_prefix(2);
    uint64_t magnitude = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), magnitude, hex ? 16 : 10);
    if (error != std::errc() || end != text.data() + text.size() || text.empty()) return false;
    const auto least = static_cast<uint64_t>(std::numeric_limits<T>::min());  // as 64-bit two's complement
    if (negative ? magnitude > 0 - least : magnitude > static_cast<uint64_t>(std::numeric_limits<T>::max())) {
        return false;
    }
    value = static_cast<T>(negative ? 0 - magnitude : magnitude);
    return true;
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
