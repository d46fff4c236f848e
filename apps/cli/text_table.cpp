#include "text_table.h"

#include <algorithm>

namespace kvlnmov::cli {

std::size_t displayWidth(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

std::string fit(const std::string& text, std::size_t width, bool right) {
    const std::string padding(width - std::min(width, displayWidth(text)), ' ');
    return right ? padding + text : text + padding;
}

TextTable::TextTable(std::vector<std::string> header, std::vector<bool> right,
                     std::string separator, bool rule)
    : header_(std::move(header)),
      right_(std::move(right)),
      separator_(std::move(separator)),
      rule_(rule) {
    right_.resize(header_.size(), false);
    for (const std::string& title : header_) widths_.push_back(displayWidth(title));
}

void TextTable::add(std::vector<std::string> row) {
    row.resize(header_.size());
    for (std::size_t i = 0; i < row.size(); ++i) {
        widths_[i] = std::max(widths_[i], displayWidth(row[i]));
    }
    rows_.push_back(std::move(row));
}

void TextTable::widen(std::size_t column, std::size_t width) {
    widths_.at(column) = std::max(widths_.at(column), width);
}

std::string TextTable::line(const std::vector<std::string>& cells, bool header) const {
    std::string text;
    for (std::size_t i = 0; i < widths_.size(); ++i) {
        if (i) text += separator_;
        text += fit(i < cells.size() ? cells[i] : std::string(), widths_[i], right_[i] && !header);
    }
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

std::string TextTable::ruleLine() const {
    std::string dashes;
    std::string joint = separator_;
    std::replace(joint.begin(), joint.end(), ' ', '-');
    std::replace(joint.begin(), joint.end(), '|', '+');
    for (std::size_t i = 0; i < widths_.size(); ++i) {
        dashes += (i ? joint : std::string()) + std::string(widths_[i], '-');
    }
    return dashes;
}

void TextTable::print(std::ostream& out, const std::string& indent) const {
    out << indent << line(header_, true) << "\n";
    if (rule_) out << indent << ruleLine() << "\n";
    for (const auto& row : rows_) out << indent << line(row) << "\n";
}

}  // namespace kvlnmov::cli
