#include "db/sqlite/translate/sql_text.h"

namespace kvlnmov::db::sqlite::tsql {

SqlText SqlText::parameter(int index) {
    SqlText text;
    text.markers_.push_back({0, index});
    return text;
}

bool SqlText::startsWith(char c) const {
    if (!markers_.empty() && markers_.front().offset == 0) return false;
    return !text_.empty() && text_.front() == c;
}

SqlText& SqlText::operator+=(const SqlText& other) {
    // The other text's markers follow this text's: offsets shift by this text's length, and
    // the order of markers stays the order of the text.
    if (this == &other) {
        const SqlText copy = other;
        return *this += copy;
    }
    const std::size_t shift = text_.size();
    text_ += other.text_;
    markers_.reserve(markers_.size() + other.markers_.size());
    for (const Marker& marker : other.markers_) {
        markers_.push_back({marker.offset + shift, marker.index});
    }
    return *this;
}

}  // namespace kvlnmov::db::sqlite::tsql
