#pragma once

// The two ways a superseded property still answers.

#include <cstdint>
#include <string>

namespace kvlnmov {

/// Raising pattern: the getter and the setter fail with error -2147221503 (the first code of
/// the object-defined range), no source, and a description naming the successor, such as
/// "Esta propiedad esta obsoleta, debe usarse Impuestos_Tipo".
[[noreturn]] void raiseObsolete(const std::string& description);

/// Warning pattern, getter side: shows the exclamation message box `notice` (OK button only,
/// title "¡ Atención !") and returns 0.
std::int32_t warnObsolete(const std::string& notice);

/// Warning notice of the numeric document properties.
inline const std::string kDocumentoNotice = "DESCATALOGADO. Use DocumentoSTR";
/// Title of the library's notices.
inline const std::string kNoticeTitle = "¡ Atención !";

/// Warning pattern, setter side of `Documento`: a non-zero number as its decimal text, zero
/// as an empty text.
std::string documentText(std::int32_t number);

}  // namespace kvlnmov
