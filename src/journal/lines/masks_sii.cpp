// Concept masks (placeholders "%name$width%" inside a concept text) and the SII link of a
// line.

#include <cmath>
#include <vector>

#include "kvlnmov/core/library.h"
#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/journal/cls_mov.h"

namespace kvlnmov {

namespace {

/// The numeric value of the text up to its first non-numeric character (so "8%" is 8), as
/// the language's Val reads it: blanks skipped, an optional sign, digits and one decimal
/// point.
double leadingNumber(const std::string& text) {
    std::string digits;
    bool point = false;
    for (char c : text) {
        if (c == ' ' || c == '\t') continue;
        if ((c == '-' || c == '+') && digits.empty()) {
            digits += c;
        } else if (c >= '0' && c <= '9') {
            digits += c;
        } else if (c == '.' && !point) {
            point = true;
            digits += c;
        } else {
            break;
        }
    }
    try {
        return digits.empty() ? 0.0 : std::stod(digits);
    } catch (const std::exception&) {
        return 0.0;
    }
}

/// The first `count` characters of a UTF-8 text (all of it when shorter); a character is
/// never cut in the middle of its bytes.
std::string leadingCharacters(const std::string& text, std::size_t count) {
    std::size_t end = 0;
    for (std::size_t taken = 0; end < text.size(); ++end) {
        bool starts = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
        if (starts && taken++ == count) break;
    }
    return text.substr(0, end);
}

/// Every occurrence of `from` in `text` replaced by `to`.
std::string replaceAll(std::string text, const std::string& from, const std::string& to) {
    if (from.empty()) return text;
    std::size_t at = 0;
    while ((at = text.find(from, at)) != std::string::npos) {
        text.replace(at, from.size(), to);
        at += to.size();
    }
    return text;
}

}  // namespace

std::string clsMov::AjustarConcepto(std::string strConcepto, std::string strMask,
                                    std::string strValor) {
    try {
        if (strMask.empty())
            throw Error(errc::kInvalidProcedureCall, kRuntimeSource,
                        "Invalid procedure call or argument");
        std::string prefix = strMask.substr(0, strMask.size() - 1);
        // An empty concept holds nothing, not even an empty prefix.
        if (strConcepto.empty() || strConcepto.find(prefix) == std::string::npos) {
            return strConcepto;
        }

        // "%" signs pair up strictly in order; an unpaired last one is ignored.
        std::vector<std::string> placeholders;
        std::size_t open = strConcepto.find('%');
        if (open == std::string::npos) throw subscriptOutOfRange();
        while (open != std::string::npos) {
            std::size_t close = strConcepto.find('%', open + 1);
            if (close == std::string::npos) break;
            placeholders.push_back(strConcepto.substr(open, close - open + 1));
            open = strConcepto.find('%', close + 1);
        }
        if (placeholders.empty()) throw subscriptOutOfRange();

        // Each replacement starts again from the unchanged concept: only the last matching
        // placeholder's replacement survives, and no matching placeholder gives "".
        std::string result;
        for (const auto& placeholder : placeholders) {
            if (placeholder.find(prefix) == std::string::npos) continue;
            auto dollar = placeholder.find('$');
            if (dollar == std::string::npos) throw subscriptOutOfRange();
            double width = std::nearbyint(leadingNumber(placeholder.substr(dollar + 1)));
            // A negative width is no length to take: an invalid call, as taking the left part
            // of a text with it is.
            if (width < 0) {
                throw Error(errc::kInvalidProcedureCall, kRuntimeSource,
                            "Invalid procedure call or argument");
            }
            std::size_t count = static_cast<std::size_t>(std::min(width, 1.0e9));
            result = replaceAll(strConcepto, placeholder, leadingCharacters(strValor, count));
        }
        return result;
    } catch (const Error& error) {
        userInterface().messageBox(
            "[" + std::to_string(error.number()) + "] " + error.description(), MsgBoxIcon::Critical,
            MsgBoxButtons::Ok, "clsMov:AjustarConcepto");
        return {};
    }
}

Variant clsMov::InsertarSII(std::int32_t lngApunte, std::int16_t intTipoLibro,
                            std::int32_t lngIDLibroFactura, std::int16_t intTipoFactura,
                            std::string strNumSerieFacturaEmisor, Date dteFechaFacturaEmisor) {
    const std::string source = "clsMov:AsociarSII";
    if (lngApunte == 0) throw Error(1, source, "No se ha especificado el código de apunte");
    if (intTipoLibro == 0) throw Error(1, source, "No se ha especificado el tipo del libro");
    if (lngIDLibroFactura == 0) {
        throw Error(1, source, "No se ha especificado el ID del libro facturas");
    }
    if (intTipoFactura == 0) throw Error(1, source, "No se ha especificado el tipo de factura");

    kvlnmov::cEmpresa& context = empresa();
    std::string date = funciones().FechaSQL(dteFechaFacturaEmisor.toText());
    std::int32_t changed = connection().Execute(
        "UPDATE Movimientos_SII SET NumSerieFacturaEmisor ='" +
        sql::text(strNumSerieFacturaEmisor) + "'" + ", FechaFacturaEmisor ='" + date + "'" +
        sql::whereCompanyExercise(context) + " AND Apunte =" + sql::integer(lngApunte) +
        " AND TipoLibro =" + sql::integer(intTipoLibro) + " AND IDLibroFactura =" +
        sql::integer(lngIDLibroFactura) + " AND TipoFactura =" + sql::integer(intTipoFactura));
    if (changed == 0) {
        connection().Execute(
            "INSERT INTO Movimientos_SII (Cod_Empresa, Cod_Ejercicio, Apunte, TipoLibro, "
            "IDLibroFactura, TipoFactura, NumSerieFacturaEmisor, FechaFacturaEmisor) VALUES (" +
            sql::integer(context.Cod_Empresa()) + ", " + sql::integer(context.Cod_Ejercicio()) +
            ", " + sql::integer(lngApunte) + ", " + sql::integer(intTipoLibro) + ", " +
            sql::integer(lngIDLibroFactura) + ", " + sql::integer(intTipoFactura) + ", '" +
            sql::text(strNumSerieFacturaEmisor) + "'" + ", '" +
            funciones().FechaSQL(dteFechaFacturaEmisor.toText()) + "')");
    }
    return {};
}

}  // namespace kvlnmov
