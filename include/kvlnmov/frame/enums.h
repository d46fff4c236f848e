#pragma once

#include <cstdint>

namespace kvlnmov {

/// Kind of tax book.
enum class enmLibros : std::int32_t {
    kvSoportado = 1,      ///< input tax (invoices received)
    kvRepercutido = 2,    ///< output tax (invoices issued)
    kvBienInversion = 3,  ///< capital goods
};

/// How a template line's amount is given.
enum class TipoAsiento : std::int32_t {
    Importe = 0,     ///< an amount
    Porcentaje = 1,  ///< a percentage
};

/// The role a journal line plays in a taxed operation.
enum class enmPropietario_Apunte : std::int32_t {
    kvNinguno = 0,
    kvCuenta = 1,
    kvContrapartida = 2,
    kvImpuesto = 3,
    kvRecargo = 4,
    kvIRPF = 5,
};

/// Kind of taxed operation.
enum class enmOperacion_Impuestos : std::int32_t {
    kvNinguna = 0,
    kvInterior = 1,
    kvImportacion = 2,
    kvCompraMinorista = 3,
    kvInmovilizado = 4,
    kvExportacion = 5,
};

}  // namespace kvlnmov
