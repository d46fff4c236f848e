#include "kvlnmov/frame/quoted_values.h"

#include <algorithm>
#include <vector>

namespace kvlnmov::quoted {

namespace {

/// More quote-holding texts than one operation writes; the oldest go first past it.
constexpr std::size_t kMaxNoted = 256;

std::vector<std::string>& noted() {
    thread_local std::vector<std::string> values;
    return values;
}

}  // namespace

void note(std::string_view value) {
    if (value.find('\'') == std::string_view::npos) return;
    auto& values = noted();
    if (std::find(values.begin(), values.end(), value) != values.end()) return;
    if (values.size() >= kMaxNoted) values.erase(values.begin());
    values.emplace_back(value);
}

std::optional<StrayQuote> findIn(std::string_view statement) {
    const auto& values = noted();
    if (values.empty()) return std::nullopt;
    std::optional<StrayQuote> first;
    for (const std::string& value : values) {
        const std::size_t at = statement.find(value);
        if (at == std::string_view::npos) continue;
        const std::size_t quote = at + value.find('\'');
        if (!first || quote < first->offset) first = StrayQuote{value, quote};
    }
    return first;
}

void forget() { noted().clear(); }

}  // namespace kvlnmov::quoted
