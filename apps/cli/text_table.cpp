#include "text_table.h"

#include <algorithm>

#include "kvlnmov/core/library.h"
#include "kvlnmov/frame/regional.h"

namespace kvlnmov::cli {

std::string amountText(Currency amount) {
    // Currency keeps four decimals: the last two show only when they are not zero.
    const std::int64_t fraction = amount.raw() % 10000;
    const int decimals = fraction % 100 == 0 ? 2 : fraction % 10 == 0 ? 3 : 4;
    return amountText(amount, decimals);
}

std::string amountText(Currency amount, int decimals) {
    return funciones().FormatoNumero(amount, decimals);
}

std::string dateText(const Date& date) { return date.toShortDate(regional()); }

std::size_t displayWidth(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

std::string fit(const std::string& text, std::size_t width, bool right) {
    const std::string padding(width - std::min(width, displayWidth(text)), ' ');
    return right ? padding + text : text + padding;
}

std::string clip(const std::string& text, std::size_t width) {
    if (displayWidth(text) <= width) return text;
    if (width == 0) return {};
    std::string kept;
    std::size_t characters = 0;
    for (char c : text) {
        const bool starts = (static_cast<unsigned char>(c) & 0xC0) != 0x80;
        if (starts && ++characters == width) break;
        kept += c;
    }
    return kept + "\u2026";
}

namespace {

// The lines of a title.
std::vector<std::string> titleLines(const std::string& title) {
    std::vector<std::string> lines;
    std::string::size_type start = 0;
    for (auto end = title.find('\n'); end != std::string::npos; end = title.find('\n', start)) {
        lines.push_back(title.substr(start, end - start));
        start = end + 1;
    }
    lines.push_back(title.substr(start));
    return lines;
}

std::size_t titleWidth(const std::string& title) {
    std::size_t width = 0;
    for (const std::string& line : titleLines(title)) width = std::max(width, displayWidth(line));
    return width;
}

}  // namespace

TextTable::TextTable(std::vector<std::string> header, std::vector<bool> right,
                     std::string separator, bool rule)
    : header_(std::move(header)),
      right_(std::move(right)),
      separator_(std::move(separator)),
      rule_(rule) {
    right_.resize(header_.size(), false);
    rightHeader_.resize(header_.size(), false);
    for (const std::string& title : header_) widths_.push_back(titleWidth(title));
}

TextTable::TextTable(const std::vector<TableColumn>& columns, std::string separator, bool rule)
    : separator_(std::move(separator)), rule_(rule) {
    for (const TableColumn& column : columns) {
        header_.push_back(column.title);
        right_.push_back(column.numeric);
        rightHeader_.push_back(column.numeric);
        widths_.push_back(titleWidth(column.title));
    }
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
        text += fit(i < cells.size() ? cells[i] : std::string(), widths_[i],
                    header ? rightHeader_[i] : right_[i]);
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
    // Titles of several lines are split over as many header lines, aligned at the bottom.
    std::vector<std::vector<std::string>> titles;
    std::size_t height = 1;
    for (const std::string& title : header_) {
        titles.push_back(titleLines(title));
        height = std::max(height, titles.back().size());
    }
    for (std::size_t row = 0; row < height; ++row) {
        std::vector<std::string> cells;
        for (const auto& lines : titles) {
            const std::size_t blank = height - lines.size();
            cells.push_back(row < blank ? std::string() : lines[row - blank]);
        }
        out << indent << line(cells, true) << "\n";
    }
    if (rule_) out << indent << ruleLine() << "\n";
    for (const auto& row : rows_) out << indent << line(row) << "\n";
}

}  // namespace kvlnmov::cli
