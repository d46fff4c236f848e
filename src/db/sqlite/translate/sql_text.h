#pragma once

// SQLite text as the emitter builds it: plain text, and beside it the places where statement
// parameters go. The parameters are never written into the text while it is being built, so
// nothing a statement writes (a name, an alias, any byte) can be taken for one; they become
// SQLite's numbered markers only when the finished statement is rendered.

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace kvlnmov::db::sqlite::tsql {

class SqlText {
  public:
    SqlText() = default;
    SqlText(std::string text) : text_(std::move(text)) {}  // NOLINT: text is SQL as it stands
    SqlText(const char* text) : text_(text) {}             // NOLINT: text is SQL as it stands

    /// A text that is only parameter `index` (an index into the emitter's parameter list).
    static SqlText parameter(int index);

    /// True when nothing at all is written (no text, no parameter).
    bool empty() const { return text_.empty() && markers_.empty(); }
    /// True when the rendered text starts with `c` (a parameter renders as "?N").
    bool startsWith(char c) const;

    SqlText& operator+=(const SqlText& other);
    friend SqlText operator+(SqlText left, const SqlText& right) {
        left += right;
        return left;
    }

    /// Where each parameter stands, in the order they appear in the text.
    struct Marker {
        std::size_t offset;  ///< byte offset in the plain text
        int index;           ///< the emitter's parameter index
    };
    const std::string& plainText() const { return text_; }
    const std::vector<Marker>& markers() const { return markers_; }

  private:
    std::string text_;
    std::vector<Marker> markers_;
};

}  // namespace kvlnmov::db::sqlite::tsql
