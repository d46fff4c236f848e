#include "db/sqlite/translate/text_util.h"

namespace kvlnmov::db::sqlite::tsql {

std::string upperAscii(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return result;
}

bool equalsIgnoreCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i];
        char y = b[i];
        if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 'a' + 'A');
        if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 'a' + 'A');
        if (x != y) return false;
    }
    return true;
}

std::string quoteIdentifier(std::string_view name) {
    std::string result = "\"";
    for (char c : name) {
        if (c == '"') result += '"';
        result += c;
    }
    result += '"';
    return result;
}

std::size_t characterCount(std::string_view text) {
    std::size_t count = 0;
    for (char c : text) {
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) ++count;
    }
    return count;
}

std::string_view trimBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    auto last = text.find_last_not_of(kBlanks);
    return text.substr(first, last - first + 1);
}

}  // namespace kvlnmov::db::sqlite::tsql
