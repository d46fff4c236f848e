// The company database's stored procedures, written against SQLite. Each reserves its number
// with one INSERT ... ON CONFLICT DO UPDATE statement, which takes the database's write lock;
// the host reads the number back while it still holds that lock (the same statement returning
// it, the reading inside the host's transaction, or inside a savepoint of its own), so two
// connections (or processes) can never be given the same number.

#include "db/sqlite/procedures.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>

#include "kvlnmov/frame/text.h"

namespace kvlnmov::db::sqlite {

namespace {

/// SQL Server's error for a procedure called without one of its parameters.
constexpr std::int32_t kMissingParameter = -2147217904;

/// The parameters of one procedure call, found by name with or without a leading "@".
class Arguments {
  public:
    Arguments(std::string procedure, ParameterList& parameters, std::string source)
        : procedure_(std::move(procedure)), parameters_(parameters), source_(std::move(source)) {}

    /// The whole-number value of input parameter `name`, checked against the SQL type's
    /// range.
    std::int64_t integer(const std::string& name, std::int64_t low, std::int64_t high,
                         const char* typeName) {
        const Variant& value = find(name).value;
        if (value.isEmpty() || value.isNull()) throw missing(name);
        double number = 0;
        try {
            number = value.toDouble();
        } catch (const Error&) {
            throw Error(errc::kConversion, source_,
                        std::string("Error converting data type varchar to ") + typeName + ".");
        }
        number = std::nearbyint(number);
        if (!(number >= static_cast<double>(low) && number <= static_cast<double>(high))) {
            throw Error(errc::kDataOverflow, source_,
                        std::string("Arithmetic overflow error converting expression to data "
                                    "type ") +
                            typeName + ".");
        }
        return static_cast<std::int64_t>(number);
    }

    std::int64_t smallint(const std::string& name) {
        return integer(name, std::numeric_limits<std::int16_t>::min(),
                       std::numeric_limits<std::int16_t>::max(), "smallint");
    }
    std::int64_t tinyint(const std::string& name) { return integer(name, 0, 255, "tinyint"); }

    void setOutput(const std::string& name, std::int32_t value) { find(name).value = value; }

  private:
    Parameter& find(const std::string& name) {
        Parameter* parameter = parameters_.find(name);
        if (!parameter) parameter = parameters_.find("@" + name);
        if (!parameter) throw missing(name);
        return *parameter;
    }

    Error missing(const std::string& name) const {
        return Error(kMissingParameter, source_,
                     "Procedure or function '" + procedure_ + "' expects parameter '@" + name +
                         "', which was not supplied.");
    }

    std::string procedure_;
    ParameterList& parameters_;
    std::string source_;
};

std::int32_t toLong(std::optional<std::int64_t> value) {
    if (!value || *value < 0 || *value > std::numeric_limits<std::int32_t>::max()) return 0;
    return static_cast<std::int32_t>(*value);
}

// The next line number of a company and exercise. The counter row keeps the last number
// given, so a number is never given twice even after its line was deleted; it never falls
// below the highest line already in Movimientos (a database filled before the counter).
void nextLineNumber(ProcedureHost& host, Arguments arguments) {
    static const std::string kReserve =
        "INSERT INTO Contador_Apuntes (Cod_Empresa, Cod_Ejercicio, cApunte) "
        "VALUES (?1, ?2, (SELECT IFNULL(MAX(Apunte), 0) + 1 FROM Movimientos "
        "WHERE Cod_Empresa = ?1 AND Cod_Ejercicio = ?2)) "
        "ON CONFLICT (Cod_Empresa, Cod_Ejercicio) DO UPDATE "
        "SET cApunte = MAX(Contador_Apuntes.cApunte + 1, excluded.cApunte)";
    static const std::string kReserveReturning = kReserve + " RETURNING cApunte";
    static const std::string kRead =
        "SELECT cApunte FROM Contador_Apuntes WHERE Cod_Empresa = ?1 AND Cod_Ejercicio = ?2";
    arguments.setOutput("Apunte", 0);  // before anything runs: the output must be there
    const std::int64_t company = arguments.smallint("Cod_Empresa");
    const std::int64_t exercise = arguments.smallint("Cod_Ejercicio");
    arguments.setOutput("Apunte", toLong(host.takeNumber(
                                      {kReserve, kReserveReturning, kRead, {company, exercise}, 2})));
}

// The next entry number of a company and exercise under numbering scheme 0, 1 or 2.
//
// Scheme 0 numbers the exercise 1, 2, 3, ... with one counter row whose Mes and Dia are 0,
// skipping 999999 (the closing entry's number; 0 is the opening entry's). Schemes 1 and 2
// number each day: month * 100000 + day * 1000 + 1..998, or month * 1000000 + day * 10000 +
// 1..9998, with one counter row per day; the sequence values 0 and 999/9999 belong to the
// opening and closing entries. The counter keeps the full number last given. The next number
// is one above both the counter and the highest ordinary entry already numbered in the range;
// when the day's range is used up the answer is 0 and nothing changes.
void nextEntryNumber(ProcedureHost& host, Arguments arguments) {
    static const std::string kReserve =
        "INSERT INTO Contador_Asientos (Cod_Empresa, Cod_Ejercicio, Mes, Dia, cAsiento) "
        "SELECT ?1, ?2, ?3, ?4, Siguiente FROM ("
        "SELECT CASE WHEN Candidato = ?8 THEN Candidato + 1 ELSE Candidato END AS Siguiente "
        "FROM (SELECT MAX("
        "IFNULL((SELECT cAsiento FROM Contador_Asientos WHERE Cod_Empresa = ?1 "
        "AND Cod_Ejercicio = ?2 AND Mes = ?3 AND Dia = ?4), ?5), "
        "IFNULL((SELECT MAX(Codigo) FROM Asientos WHERE Cod_Empresa = ?1 AND Cod_Ejercicio = ?2 "
        "AND Codigo BETWEEN ?6 AND ?7 AND Codigo <> ?8), ?5)) + 1 AS Candidato)) "
        "WHERE Siguiente BETWEEN ?6 AND ?7 "
        "ON CONFLICT (Cod_Empresa, Cod_Ejercicio, Mes, Dia) DO UPDATE "
        "SET cAsiento = excluded.cAsiento";
    static const std::string kReserveReturning = kReserve + " RETURNING cAsiento";
    static const std::string kRead =
        "SELECT cAsiento FROM Contador_Asientos WHERE Cod_Empresa = ?1 AND Cod_Ejercicio = ?2 "
        "AND Mes = ?3 AND Dia = ?4";
    arguments.setOutput("Asiento", 0);  // before anything runs: the output must be there
    const std::int64_t company = arguments.smallint("Cod_Empresa");
    const std::int64_t exercise = arguments.smallint("Cod_Ejercicio");
    std::int64_t month = arguments.tinyint("Mes");
    std::int64_t day = arguments.tinyint("Dia");
    const std::int64_t scheme = arguments.tinyint("TipoNum");

    std::int64_t base = 0;
    std::int64_t last = 0;
    std::int64_t skipped = -1;  // a number inside the range that is never given
    switch (scheme) {
        case 0:
            month = 0;
            day = 0;
            last = std::numeric_limits<std::int32_t>::max();
            skipped = 999999;
            break;
        case 1:
            base = month * 100000 + day * 1000;
            last = base + 998;
            break;
        case 2:
            base = month * 1000000 + day * 10000;
            last = base + 9998;
            break;
        default:
            // No such scheme: no number.
            arguments.setOutput("Asiento", 0);
            return;
    }
    // Nothing changes when the range is used up: then there is no number and the answer is 0.
    arguments.setOutput("Asiento",
                        toLong(host.takeNumber({kReserve,
                                                kReserveReturning,
                                                kRead,
                                                {company, exercise, month, day, base, base + 1,
                                                 last, skipped},
                                                4})));
}

}  // namespace

std::optional<std::int64_t> ProcedureHost::takeNumber(const NumberReservation& reservation) {
    executeNative("SAVEPOINT kvlnmov_numbering", {});
    std::optional<std::int64_t> number;
    try {
        if (executeNative(reservation.reserve, reservation.parameters) > 0) {
            const std::vector<SqlValue> key(
                reservation.parameters.begin(),
                reservation.parameters.begin() + static_cast<std::ptrdiff_t>(reservation.keyCount));
            number = queryInteger(reservation.read, key);
        }
    } catch (...) {
        try {
            executeNative("ROLLBACK TO kvlnmov_numbering", {});
            executeNative("RELEASE kvlnmov_numbering", {});
        } catch (const Error&) {
            // The first failure is the one to report.
        }
        throw;
    }
    executeNative("RELEASE kvlnmov_numbering", {});
    return number;
}

void callStoredProcedure(ProcedureHost& host, const std::string& name, ParameterList& parameters) {
    std::string_view procedure = name;
    if (procedure.size() > 4 && text::equalsIgnoringCase(procedure.substr(0, 4), "dbo."))
        procedure.remove_prefix(4);
    const std::string source = host.providerName();
    if (text::equalsIgnoringCase(procedure, "CON_DevMovApunte")) {
        nextLineNumber(host, Arguments("CON_DevMovApunte", parameters, source));
    } else if (text::equalsIgnoringCase(procedure, "CON_DevAsiento")) {
        nextEntryNumber(host, Arguments("CON_DevAsiento", parameters, source));
    } else {
        throw Error(errc::kSyntax, source, "Could not find stored procedure '" + name + "'.");
    }
}

}  // namespace kvlnmov::db::sqlite
