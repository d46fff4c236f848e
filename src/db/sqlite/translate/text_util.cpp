#include "db/sqlite/translate/text_util.h"

#include "kvlnmov/frame/text.h"

namespace kvlnmov::db::sqlite::tsql {

std::string upperAscii(std::string_view text) { return text::upperAscii(text); }

bool equalsIgnoreCase(std::string_view a, std::string_view b) {
    return text::equalsIgnoringCase(a, b);
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

std::size_t characterCount(std::string_view text) { return text::characterCount(text); }

std::string_view trimBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    auto last = text.find_last_not_of(kBlanks);
    return text.substr(first, last - first + 1);
}

}  // namespace kvlnmov::db::sqlite::tsql
