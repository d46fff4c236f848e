#include "kvlnmov/viewer/entry_view.h"

#include <exception>

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/users/cls_usuario.h"

namespace kvlnmov {

namespace {

std::string textOf(const Variant& value) { return value.isNull() ? std::string() : value.toText(); }

// A whole number with at least `digits` digits, as the format "00" or "000" writes it.
std::string padded(std::int32_t value, std::size_t digits) {
    std::string text = std::to_string(value < 0 ? -static_cast<std::int64_t>(value) : value);
    if (text.size() < digits) text.insert(0, digits - text.size(), '0');
    return value < 0 ? "-" + text : text;
}

// The numeric value of a box's text; a text that is not a number counts as 0.
Currency boxValue(const std::string& text) {
    try {
        return Variant(text).toCurrency();
    } catch (const Error&) {
        return Currency();
    }
}

std::string twoDecimals(Currency value) { return funciones().FormatoNumero(value, 2); }

// One grid row from the current line of the line query.
EntryView::Row rowOf(const db::Recordset& line, std::size_t ordinal) {
    using Column = EntryView::Column;
    EntryView::Row row;
    auto cell = [&row](Column column) -> std::string& {
        return row[static_cast<std::size_t>(column)];
    };
    cell(Column::Apunte) = std::to_string(ordinal);
    cell(Column::Cuenta) = textOf(line.Fields("Cuenta"));
    cell(Column::Nombre) = textOf(line.Fields("Nombre"));
    cell(Column::Concepto) = textOf(line.Fields("Concepto"));
    cell(Column::Documento) = textOf(line.Fields("Documento"));
    const Variant& journal = line.Fields("Diario");
    if (!journal.isNull()) cell(Column::Diario) = padded(journal.toLong(), 2);
    // A line without a department (0) leaves the cell empty rather than showing "000".
    const Variant& department = line.Fields("Dpto");
    if (!department.isNull() && department.toLong() != 0)
        cell(Column::Dpto) = padded(department.toLong(), 3);
    const Variant& ticked = line.Fields("Punteo");
    if (!ticked.isNull() && ticked.toLong() != 0) cell(Column::Punteo) = "X";
    const Variant& debit = line.Fields("Debe");
    const Variant& credit = line.Fields("Haber");
    const Currency debitAmount = debit.isNull() ? Currency() : debit.toCurrency();
    if (!debitAmount.isZero()) {
        cell(Column::Debe) = twoDecimals(debitAmount);
    } else {
        cell(Column::Haber) = twoDecimals(credit.isNull() ? Currency() : credit.toCurrency());
    }
    return row;
}

}  // namespace

const std::array<std::string, EntryView::kColumnCount>& EntryView::columnCaptions() {
    static const std::array<std::string, kColumnCount> captions{
        "Ap.",      "Cod. Cuenta", "Denominación de Cuenta",
        "Concepto", "Doc.",        "Diario.",
        "Dpto.",    "P",           "Debe",
        "Haber"};
    return captions;
}

EntryView::EntryView(db::ConnectionRef connection, cEmpresaRef context, std::int16_t company,
                     std::int16_t exercise, std::int32_t entry)
    : connection_(std::move(connection)),
      context_(std::move(context)),
      company_(company),
      exercise_(exercise),
      entry_(entry) {}

EntryView::~EntryView() = default;

void EntryView::load() {
    if (!connection_) throw objectRequired();
    close();
    rows_.clear();
    failed_ = false;

    lines_ = std::make_unique<db::Recordset>();
    lines_->Open(
        "SELECT a.Apunte, a.Fecha_Apunte, a.Cuenta, a.Concepto, a.Documento,"
        " a.Diario, a.Dpto, a.Debe, a.Haber, a.Punteo, c.Nombre, "
        " b.Codigo, b.Fecha, b.Usuario "
        " FROM Movimientos a "
        " INNER JOIN Asientos b"
        " ON a.Cod_Empresa = b.Cod_Empresa And a.Cod_Ejercicio = b.Cod_Ejercicio And "
        "a.Cod_Asiento = b.Codigo"
        " LEFT JOIN Cuentas c"
        " ON c.Cod_Empresa = a.Cod_Empresa AND c.Cod_Ejercicio = a.Cod_Ejercicio AND c.Cuenta = "
        "a.Cuenta"
        " WHERE a.Cod_Empresa =" +
            sql::integer(company_) + " AND a.Cod_Ejercicio =" + sql::integer(exercise_) +
            " AND a.Cod_Asiento =" + sql::integer(entry_) + " ORDER BY a.Apunte",
        connection_);

    std::int32_t user = 0;
    if (!lines_->Eof()) {
        const Variant& date = lines_->Fields("Fecha");
        if (fecha_.empty() && !date.isNull()) fecha_ = date.toDate().toShortDate(regional());
        if (numero_.empty()) numero_ = textOf(lines_->Fields("Codigo"));
        const Variant& lastUser = lines_->Fields("Usuario");
        if (!lastUser.isNull()) user = lastUser.toLong();
    }

    readTotals();

    descuadreDebe_ = "0";
    descuadreHaber_ = "0";
    const Currency difference = boxValue(totalDebe_) - boxValue(totalHaber_);
    if (difference > Currency()) {
        descuadreHaber_ = twoDecimals(difference.abs());  // the credits are short
    } else if (difference < Currency()) {
        descuadreDebe_ = twoDecimals(difference.abs());  // the debits are short
    }

    readLastUser(user);
    fetchMore();
}

void EntryView::readTotals() {
    db::Recordset totals;
    totals.Open(
        "SELECT ISNULL(SUM(a.Haber), 0) AS SumHaber, ISNULL(SUM(a.Debe), 0) AS SumDebe "
        "  FROM Movimientos a "
        " WHERE a.Cod_Empresa =" +
            sql::integer(company_) + "   AND a.Cod_Ejercicio =" + sql::integer(exercise_) +
            "   AND a.Cod_Asiento =" + sql::integer(entry_),
        connection_);
    totalDebe_ = twoDecimals(totals.Fields("SumDebe").toCurrency());
    totalHaber_ = twoDecimals(totals.Fields("SumHaber").toCurrency());
    totals.Close();
}

void EntryView::readLastUser(std::int32_t user) {
    userCaption_.clear();
    userName_.clear();
    if (user <= 0) return;
    userCaption_ = kLastUserCaption;
    auto lookup = std::make_shared<clsUsuario>();
    lookup->Conexion(connection_);
    lookup->cEmpresa(context_);
    lookup->Codigo(static_cast<std::int16_t>(user));
    lookup->Cargar();
    userName_ = lookup->Nombre();
}

int EntryView::fetchMore() {
    if (!canFetchMore()) return 0;
    int added = 0;
    try {
        while (added < kBatchSize && !lines_->Eof()) {
            rows_.push_back(rowOf(*lines_, rows_.size() + 1));
            ++added;
            lines_->MoveNext();
        }
    } catch (...) {
        // The line that failed is neither shown nor skipped: the query's position after a
        // failed read is unknown, so no further batch is read from it.
        failed_ = true;
        throw;
    }
    return added;
}

int EntryView::scroll() {
    const std::size_t before = rows_.size();
    try {
        fetchMore();
    } catch (...) {
        const Error error = asError(std::current_exception());
        userInterface().messageBox("[" + std::to_string(error.number()) + "] " +
                                       error.description() + "\n" + kScrollSource,
                                   MsgBoxIcon::Critical, MsgBoxButtons::Ok, "");
    }
    return static_cast<int>(rows_.size() - before);
}

bool EntryView::canFetchMore() const {
    return !failed_ && lines_ && lines_->IsOpen() && !lines_->Eof();
}

void EntryView::close() {
    if (lines_ && lines_->IsOpen()) lines_->Close();
}

}  // namespace kvlnmov
