#include "kvlnmov/db/connection.h"

#include <algorithm>
#include <cctype>

#include "kvlnmov/frame/quoted_values.h"
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
    return withinOperation([&] { return executeStatement(text); });
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

    // A quoted text holding a quote would end its literal early and turn the rest of it into
    // SQL: the statement fails as the server fails a stray quote, without running.
    if (auto stray = quoted::findIn(text)) throw strayQuoteError(text, stray->offset);

    if (changesData && !openRecordsets_.empty()) {
        // A change could show through (or, with SQLite, be held back by) a cursor still
        // reading: every open recordset takes the rest of its rows first.
        const auto recordsets = openRecordsets_;
        for (Recordset* recordset : recordsets) recordset->detach();
    }
}

std::unique_ptr<Cursor> Connection::open(std::string_view text) {
    beforeSending(text, false);
    return withinOperation([&] { return openCursor(text); });
}

void Connection::runProcedure(const std::string& name, ParameterList& parameters) {
    beforeSending("EXEC " + name, true);
    withinOperation([&] { callProcedure(name, parameters); });
}

template <class Send>
auto Connection::withinOperation(Send&& send) -> decltype(send()) {
    switch (operation_) {
        case OperationState::None:
        case OperationState::Unsupported:
            return send();
        case OperationState::Lost:
            throw *lostBecause_;
        case OperationState::Pending:
            // Raises as this statement's failure when the transaction cannot be had (another
            // writer holds the lock past the busy timeout); the next attempt tries again.
            if (!openOperationTransaction()) {
                operation_ = OperationState::Unsupported;
                return send();
            }
            operation_ = OperationState::Open;
            break;
        case OperationState::Open:
            break;
    }
    try {
        return send();
    } catch (const Error& error) {
        if (!operationTransactionAlive()) {
            operation_ = OperationState::Lost;
            lostBecause_ = error;
        }
        throw;
    }
}

void Connection::beginOperation() {
    if (operationDepth_++ == 0) {
        operation_ = OperationState::Pending;
        lostBecause_.reset();
    }
}

void Connection::endOperation() {
    if (operationDepth_ == 0 || --operationDepth_ > 0) return;
    const OperationState state = operation_;
    operation_ = OperationState::None;
    lostBecause_.reset();
    if (state == OperationState::Open) commitOperationTransaction();
}

Error Connection::strayQuoteError(std::string_view text, std::size_t quoteOffset) {
    // The server reads the quote as the end of the literal and stumbles on what follows.
    std::size_t start = quoteOffset + 1;
    while (start < text.size() && std::isspace(static_cast<unsigned char>(text[start]))) ++start;
    std::size_t end = start;
    auto isWordByte = [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return std::isalnum(byte) || c == '_' || c == '@' || c == '#' || byte >= 0x80;
    };
    while (end < text.size() && isWordByte(text[end])) ++end;
    if (end == start && start < text.size()) end = start + 1;
    return Error(errc::kSyntax, providerName(),
                 "Incorrect syntax near '" + std::string(text.substr(start, end - start)) + "'.");
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
