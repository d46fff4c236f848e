#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/frame/object.h"

namespace kvlnmov {

/// An SII invoice book of the suite's SII library: the electronic VAT register's record of
/// an invoice. Annulling an entry hands each SII record of its lines to the book of its type
/// (1 or 2), which removes the invoice record `IDLibroFactura` from the register.
class SiiInvoiceBook : public Object {
  public:
    std::string className() const override { return "SiiInvoiceBook"; }
    virtual void Conexion(db::ConnectionRef connection) = 0;
    virtual void cEmpresa(cEmpresaRef context) = 0;
    /// Removes invoice record `lngIDLibroFactura` from the register.
    virtual void Eliminar(std::int32_t lngIDLibroFactura) = 0;
};

/// Makes a book object; the application registers one factory per book type.
using SiiInvoiceBookFactory = std::function<std::shared_ptr<SiiInvoiceBook>()>;

/// Registers (or, with an empty factory, removes) the SII book class of type `bookType`.
void registerSiiInvoiceBook(std::int16_t bookType, SiiInvoiceBookFactory factory);
/// Creates the SII book of type `bookType`; raises error 429 "ActiveX component can't create
/// object" when none is registered, as creating a missing class does.
std::shared_ptr<SiiInvoiceBook> createSiiInvoiceBook(std::int16_t bookType);
/// Removes every registered SII book class.
void clearSiiInvoiceBooks();

}  // namespace kvlnmov
