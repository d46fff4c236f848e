#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/core/context.h"

namespace kvlnmov {

namespace db {
class Recordset;
}

/// What the entry viewer form shows, without any user interface: the entry's number and
/// date, its lines as the grid shows them, the debit and credit totals, the imbalance and the
/// entry's last user. The Qt form and the terminal view both render it.
///
/// The lines are read by one query kept open from `load()` until `close()` (or the end of the
/// object) and added to `rows()` in batches of at most 200: the first batch on loading, each
/// further one on `fetchMore()`/`scroll()`, so a long entry is never read whole at once.
/// The view never writes to the database.
class EntryView {
  public:
    /// Columns of the grid, left to right.
    enum class Column {
        Apunte,     ///< "Ap.": the running number of the row in the grid, from 1
        Cuenta,     ///< "Cod. Cuenta"
        Nombre,     ///< "Denominación de Cuenta": empty when the account has no `Cuentas` row
        Concepto,   ///< "Concepto"
        Documento,  ///< "Doc."
        Diario,     ///< "Diario.": two digits ("05"); empty when Null
        Dpto,       ///< "Dpto.": three digits ("007"); empty for department 0 or Null
        Punteo,     ///< "P": "X" for a ticked line, else empty
        Debe,       ///< "Debe": the debit with two decimals when non-zero, else empty
        Haber,      ///< "Haber": the credit with two decimals when the debit is zero, else empty
    };
    static constexpr int kColumnCount = 10;
    /// Lines added per batch.
    static constexpr int kBatchSize = 200;
    /// Header captions of the grid's columns, in column order.
    static const std::array<std::string, kColumnCount>& columnCaptions();
    /// The caption shown before the last user's name.
    static constexpr const char* kLastUserCaption = "Ult. Mod.:";
    /// Named in the message box of a failed batch.
    static constexpr const char* kScrollSource = "frmAsientoVisor:vsApuntes_Scroll";

    using Row = std::array<std::string, kColumnCount>;

    /// A view of entry `entry` of `company`/`exercise`, read through `connection` (the
    /// library-wide one in the viewer form). `context` is handed to the user lookup and may be
    /// null. Nothing is read until `load()`.
    EntryView(db::ConnectionRef connection, cEmpresaRef context, std::int16_t company,
              std::int16_t exercise, std::int32_t entry);
    ~EntryView();
    EntryView(const EntryView&) = delete;
    EntryView& operator=(const EntryView&) = delete;

    /// Reads the entry: closes the line query of an earlier load and clears the grid, opens
    /// the line query, fills the number and date boxes from the first line when they are
    /// empty, reads the totals, works out the imbalance and the last user, and adds the first
    /// batch of lines. Raises provider errors as they come (error 91 without a connection).
    void load();

    /// Adds the next batch (at most 200 lines) from the open line query; returns how many
    /// lines were added (0 when there are none left). Raises the provider's error when
    /// reading a line fails: the lines added before the failure stay, and the view offers no
    /// further lines, since a failed read leaves the query's position unknown.
    int fetchMore();
    /// `fetchMore()` as the grid's scrolling runs it: an error is shown in a critical message
    /// box (OK button, no title of its own) whose text is "[" number "] " description, a line
    /// break and "frmAsientoVisor:vsApuntes_Scroll", and is then cleared. Returns how many
    /// lines were added.
    int scroll();
    /// True while the line query has lines not yet added (and no batch has failed).
    bool canFetchMore() const;
    /// Closes the line query (what unloading the form does). The rows stay.
    void close();

    /// The lines added so far, one text per column.
    const std::vector<Row>& rows() const { return rows_; }
    /// The entry number box: "Codigo" of the first line (empty for an entry without lines).
    const std::string& numero() const { return numero_; }
    /// The date box: the entry's date as the regional short date ("15/03/2026").
    const std::string& fecha() const { return fecha_; }
    /// `txtTDebe` and `txtTHaber`: the sums of the entry's debits and credits with two
    /// decimals ("1.234,50" in the Spanish settings).
    const std::string& totalDebe() const { return totalDebe_; }
    const std::string& totalHaber() const { return totalHaber_; }
    /// `txtDDebe` and `txtDHaber`: "0" and "0" for a balanced entry; otherwise the absolute
    /// difference with two decimals in the side that is short ("txtDHaber" when the debits
    /// exceed the credits) and "0" in the other.
    const std::string& descuadreDebe() const { return descuadreDebe_; }
    const std::string& descuadreHaber() const { return descuadreHaber_; }
    /// "Ult. Mod.:" when the entry's `Usuario` is above 0, else empty.
    const std::string& userCaption() const { return userCaption_; }
    /// `lblUser`: the name of the entry's last user (`SGD_Usuarios.Nombre`), empty when
    /// `Usuario` is not above 0 or no such user exists.
    const std::string& userName() const { return userName_; }

    std::int16_t company() const { return company_; }
    std::int16_t exercise() const { return exercise_; }
    std::int32_t entry() const { return entry_; }

  private:
    void readTotals();
    void readLastUser(std::int32_t user);

    db::ConnectionRef connection_;
    cEmpresaRef context_;
    std::int16_t company_;
    std::int16_t exercise_;
    std::int32_t entry_;
    std::unique_ptr<db::Recordset> lines_;
    bool failed_ = false;
    std::vector<Row> rows_;
    std::string numero_;
    std::string fecha_;
    std::string totalDebe_;
    std::string totalHaber_;
    std::string descuadreDebe_;
    std::string descuadreHaber_;
    std::string userCaption_;
    std::string userName_;
};

}  // namespace kvlnmov
