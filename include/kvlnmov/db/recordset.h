#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/db/types.h"
#include "kvlnmov/frame/object.h"
#include "kvlnmov/frame/variant.h"

namespace kvlnmov::db {

/// A read-only, forward-moving result with the contents of a static cursor: the rows it
/// delivers are those the query found when it was opened, even when the same connection
/// changes the tables afterwards. Rows are fetched on demand, so a caller may read 200 rows
/// and later 200 more without the whole result being read at once; when a statement that
/// may change data runs on the connection meanwhile, the remaining rows are read into memory
/// first.
///
/// Shaped as ADO's Recordset: Open, Eof, Fields, MoveNext, Close. Reading a field at the
/// end raises ADO error 3021; an unknown field name raises 3265; using a closed recordset
/// raises 3704 (source "ADODB.Recordset"). Field names are case-insensitive.
class Recordset : public Object {
  public:
    Recordset();
    ~Recordset() override;
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;

    std::string className() const override { return "Recordset"; }

    /// Opens the query `source` on `connection` (closing what was open before). Provider
    /// errors are raised as they come.
    void Open(std::string_view source, const ConnectionRef& connection);
    bool IsOpen() const { return open_; }
    /// True when there is no current row.
    bool Eof() const;
    /// The value of a column of the current row.
    const Variant& Fields(std::string_view name) const;
    const Variant& Fields(int index) const;
    int FieldCount() const;
    const ColumnInfo& FieldInfo(int index) const;
    void MoveNext();
    void Close();

  private:
    friend class Connection;
    /// Reads the rest of the rows into memory and lets the provider's cursor go.
    void detach();
    void fetchCurrent();
    int indexOf(std::string_view name) const;
    void requireOpen() const;

    ConnectionRef connection_;
    std::unique_ptr<Cursor> cursor_;
    std::vector<ColumnInfo> columns_;
    std::deque<std::vector<Variant>> buffered_;
    /// A row that failed to be read ahead, raised when the caller reaches it.
    std::optional<Error> pendingFailure_;
    std::vector<Variant> current_;
    bool open_ = false;
    bool eof_ = true;
};

using RecordsetRef = std::shared_ptr<Recordset>;

}  // namespace kvlnmov::db
