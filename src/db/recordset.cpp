#include "kvlnmov/db/recordset.h"

#include <algorithm>
#include <cctype>

#include "kvlnmov/frame/text.h"

namespace kvlnmov::db {

namespace {

constexpr const char* kSource = "ADODB.Recordset";

Error noCurrentRecord() {
    return Error(adoerr::kNoCurrentRecord, kSource,
                 "Either BOF or EOF is True, or the current record has been deleted. Requested "
                 "operation requires a current record.");
}

Error itemNotFound() {
    return Error(adoerr::kItemNotFound, kSource,
                 "Item cannot be found in the collection corresponding to the requested name or "
                 "ordinal.");
}

Error objectClosed() {
    return Error(adoerr::kObjectClosed, kSource,
                 "Operation is not allowed when the object is closed.");
}

}  // namespace

Recordset::Recordset() = default;

Recordset::~Recordset() {
    if (connection_) connection_->unregisterRecordset(this);
}

void Recordset::Open(std::string_view source, const ConnectionRef& connection) {
    if (!connection) {
        throw Error(adoerr::kInvalidConnection, kSource,
                    "The connection cannot be used to perform this operation. It is either "
                    "closed or invalid in this context.");
    }
    if (open_) Close();
    std::unique_ptr<Cursor> cursor = connection->open(source);
    columns_ = cursor->columns();
    cursor_ = std::move(cursor);
    connection_ = connection;
    connection_->registerRecordset(this);
    open_ = true;
    fetchCurrent();
}

bool Recordset::Eof() const {
    requireOpen();
    return eof_;
}

const Variant& Recordset::Fields(std::string_view name) const {
    requireOpen();
    const int index = indexOf(name);
    if (index < 0) throw itemNotFound();
    if (eof_ || static_cast<std::size_t>(index) >= current_.size()) throw noCurrentRecord();
    return current_[static_cast<std::size_t>(index)];
}

const Variant& Recordset::Fields(int index) const {
    requireOpen();
    if (index < 0 || index >= FieldCount()) throw itemNotFound();
    if (eof_ || static_cast<std::size_t>(index) >= current_.size()) throw noCurrentRecord();
    return current_[static_cast<std::size_t>(index)];
}

int Recordset::FieldCount() const {
    requireOpen();
    return static_cast<int>(columns_.size());
}

const ColumnInfo& Recordset::FieldInfo(int index) const {
    requireOpen();
    if (index < 0 || index >= FieldCount()) throw itemNotFound();
    return columns_[static_cast<std::size_t>(index)];
}

void Recordset::MoveNext() {
    requireOpen();
    if (eof_) throw noCurrentRecord();
    fetchCurrent();
}

void Recordset::Close() {
    requireOpen();
    if (connection_) connection_->unregisterRecordset(this);
    cursor_.reset();
    buffered_.clear();
    pendingFailure_.reset();
    current_.clear();
    columns_.clear();
    connection_.reset();
    open_ = false;
    eof_ = true;
}

void Recordset::detach() {
    if (!cursor_) return;
    std::vector<Variant> row;
    try {
        while (cursor_->next(row)) buffered_.push_back(std::move(row));
    } catch (const Error& failure) {
        // A row that cannot be read fails when the caller reaches it, not in the unrelated
        // statement that made the rows be read ahead.
        pendingFailure_ = failure;
    }
    cursor_.reset();
}

void Recordset::fetchCurrent() {
    if (!buffered_.empty()) {
        current_ = std::move(buffered_.front());
        buffered_.pop_front();
        eof_ = false;
        return;
    }
    try {
        if (pendingFailure_) {
            Error failure = *pendingFailure_;
            pendingFailure_.reset();
            throw failure;
        }
        if (cursor_ && cursor_->next(current_)) {
            eof_ = false;
            return;
        }
    } catch (...) {
        // A row that cannot be read ends the result: no half-read row stays current.
        cursor_.reset();
        current_.clear();
        eof_ = true;
        throw;
    }
    // The end: let the provider's cursor go at once so it holds nothing in the database.
    cursor_.reset();
    current_.clear();
    eof_ = true;
}

int Recordset::indexOf(std::string_view name) const {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (text::equalsIgnoringCase(columns_[i].name, name)) return static_cast<int>(i);
    }
    return -1;
}

void Recordset::requireOpen() const {
    if (!open_) throw objectClosed();
}

}  // namespace kvlnmov::db
