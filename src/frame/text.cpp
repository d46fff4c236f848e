#include "kvlnmov/frame/text.h"

#include <algorithm>
#include <cctype>

namespace kvlnmov::text {

namespace {
char lowerChar(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }
char upperChar(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }
bool continuationByte(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }
}  // namespace

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    // Equal bytes need no folding: names are mostly looked up as they were written.
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return x == y || lowerChar(x) == lowerChar(y);
           });
}

bool lessIgnoringCase(std::string_view a, std::string_view b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                        [](char x, char y) { return lowerChar(x) < lowerChar(y); });
}

std::string upperAscii(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), upperChar);
    return result;
}

std::string lowerAscii(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), lowerChar);
    return result;
}

std::string_view trim(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.remove_suffix(1);
    return text;
}

std::size_t characterCount(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return !continuationByte(c); }));
}

std::string_view firstCharacters(std::string_view text, std::size_t length) {
    std::size_t characters = 0;
    std::size_t end = 0;
    while (end < text.size()) {
        if (!continuationByte(text[end])) {
            if (characters == length) break;
            ++characters;
        }
        ++end;
    }
    return text.substr(0, end);
}

}  // namespace kvlnmov::text
