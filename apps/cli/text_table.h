#pragma once

// Plain text tables for the tool's reports: columns as wide as their widest cell, counted in
// characters (UTF-8 letters count as one), numbers aligned to the right. And the forms in
// which the reports write amounts and dates for people: the regional ones ("1.210,00",
// "16/03/2026"). Machine output (CSV, JSON) keeps '.' and ISO dates instead.

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "kvlnmov/frame/currency.h"
#include "kvlnmov/frame/date.h"

namespace kvlnmov::cli {

/// An amount as the human reports write it: regional separators and two decimals, or as
/// many of its four as it needs ("1.210,00", "-5,50", "0,7175").
std::string amountText(Currency amount);
/// An amount with exactly `decimals` decimals in the regional form ("1.210,0001").
std::string amountText(Currency amount, int decimals);
/// A date as the human reports write it: the regional short date ("16/03/2026").
std::string dateText(const Date& date);

/// Characters a UTF-8 text takes on the terminal (one per code point).
std::size_t displayWidth(std::string_view text);
/// `text` padded with blanks to `width` characters, on the left when `right`.
std::string fit(const std::string& text, std::size_t width, bool right);
/// `text` cut to at most `width` characters, the last one an ellipsis when it was cut.
std::string clip(const std::string& text, std::size_t width);

/// A column of a table: its title, and whether it holds numbers (numeric columns align
/// to the right, title included). A title may take several lines ("Period\ndebit"): the
/// header is then as many lines high, the shorter titles on its last lines.
struct TableColumn {
    std::string title;
    bool numeric = false;
};

class TextTable {
  public:
    /// `separator` goes between columns; with `rule`, a line of dashes follows the header.
    TextTable(const std::vector<TableColumn>& columns, std::string separator = "  ",
              bool rule = false);
    /// `right` says, per column, whether its cells align to the right (headers never do).
    /// `separator` goes between columns; with `rule`, a line of dashes follows the header.
    TextTable(std::vector<std::string> header, std::vector<bool> right,
              std::string separator = "  ", bool rule = false);

    void add(std::vector<std::string> row);
    bool empty() const { return rows_.empty(); }
    std::size_t size() const { return rows_.size(); }
    /// The width of every column, for lines a caller aligns under the table. Kept as rows are
    /// added, so printing a table is linear in its rows.
    const std::vector<std::size_t>& widths() const { return widths_; }
    /// Makes column `column` at least `width` characters wide.
    void widen(std::size_t column, std::size_t width);

    /// The header, the rule if any, and the rows, each line after `indent`, trailing blanks
    /// removed.
    void print(std::ostream& out, const std::string& indent = "") const;
    /// One line with the table's columns, for totals under it.
    std::string line(const std::vector<std::string>& cells, bool header = false) const;
    /// The rule line the table prints under its header.
    std::string ruleLine() const;

  private:
    std::vector<std::string> header_;
    std::vector<bool> right_;
    std::vector<bool> rightHeader_;
    std::string separator_;
    bool rule_;
    std::vector<std::vector<std::string>> rows_;
    std::vector<std::size_t> widths_;
};

}  // namespace kvlnmov::cli
