#include "kvlnmov/db/connection.h"

#include <algorithm>
#include <cctype>

#include "kvlnmov/db/recordset.h"

namespace kvlnmov::db {

namespace {

std::string_view skipBlanks(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    return text;
}

bool startsWithNoCase(std::string_view text, std::string_view prefix) {
    text = skipBlanks(text);
    prefix = skipBlanks(prefix);
    if (prefix.size() > text.size()) return false;
    return std::equal(prefix.begin(), prefix.end(), text.begin(), [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) ==
               std::tolower(static_cast<unsigned char>(b));
    });
}

}  // namespace

Connection::Connection(std::string connectionString)
    : connectionString_(std::move(connectionString)) {}

Connection::~Connection() = default;

std::int32_t Connection::Execute(std::string_view text) {
    beforeSending(text, true);
    return executeStatement(text);
}

void Connection::BeginTrans() {
    beforeSending("BEGIN TRANSACTION", true);
    beginTransaction();
}

void Connection::CommitTrans() {
    beforeSending("COMMIT TRANSACTION", true);
    commitTransaction();
}

void Connection::RollbackTrans() {
    beforeSending("ROLLBACK TRANSACTION", true);
    rollbackTransaction();
}

void Connection::addObserver(std::shared_ptr<StatementObserver> observer) {
    observers_.push_back(std::move(observer));
}

void Connection::removeObserver(const StatementObserver* observer) {
    std::erase_if(observers_, [observer](const auto& held) { return held.get() == observer; });
}

void Connection::injectFault(Fault fault) {
    if (fault.times > 0) faults_.push_back(std::move(fault));
}

void Connection::clearFaults() { faults_.clear(); }

void Connection::beforeSending(std::string_view text, bool changesData) {
    if (!observers_.empty()) {
        // A copy: an observer may add or remove observers while being told.
        const auto observers = observers_;
        for (const auto& observer : observers) observer->statementSent(text);
    }

    auto fault = std::find_if(faults_.begin(), faults_.end(), [text](const Fault& candidate) {
        return startsWithNoCase(text, candidate.prefix);
    });
    if (fault != faults_.end()) {
        Error error(fault->number, providerName(), fault->description);
        if (--fault->times <= 0) faults_.erase(fault);
        throw error;
    }

    if (changesData && !openRecordsets_.empty()) {
        // A change could show through (or, with SQLite, be held back by) a cursor still
        // reading: every open recordset takes the rest of its rows first.
        const auto recordsets = openRecordsets_;
        for (Recordset* recordset : recordsets) recordset->detach();
    }
}

std::unique_ptr<Cursor> Connection::open(std::string_view text) {
    beforeSending(text, false);
    return openCursor(text);
}

void Connection::runProcedure(const std::string& name, ParameterList& parameters) {
    beforeSending("EXEC " + name, true);
    callProcedure(name, parameters);
}

void Connection::registerRecordset(Recordset* recordset) {
    if (std::find(openRecordsets_.begin(), openRecordsets_.end(), recordset) ==
        openRecordsets_.end())
        openRecordsets_.push_back(recordset);
}

void Connection::unregisterRecordset(Recordset* recordset) {
    std::erase(openRecordsets_, recordset);
}

namespace {

class EmptyCursor : public Cursor {
  public:
    const std::vector<ColumnInfo>& columns() const override { return columns_; }
    bool next(std::vector<Variant>&) override { return false; }

  private:
    std::vector<ColumnInfo> columns_;
};

}  // namespace

std::unique_ptr<Cursor> makeEmptyCursor() { return std::make_unique<EmptyCursor>(); }

}  // namespace kvlnmov::db
