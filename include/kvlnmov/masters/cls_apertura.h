#pragma once

#include <string>

#include "kvlnmov/core/business_object.h"
#include "kvlnmov/frame/currency.h"

namespace kvlnmov {

/// The opening balance of one posting account in the working exercise, kept directly in the
/// `Apertura` column of the account's `Acumulados` row and carried into the rows of its
/// summary accounts (the leading `LongitudNivel(i)` characters of the account for every level
/// but the last). Summary rows are only updated, never created; `Acumulados_Dpto` is not
/// touched and no journal line is written.
///
/// `Insertar` and `Modificar` return False even when every statement ran: callers rely on the
/// absence of an error. Failures are raised with the sources "clsApertura::Insertar",
/// "clsApertura::Modificar" and "clsApertura::Cargar".
class clsApertura : public BusinessObject {
  public:
    std::string className() const override { return "clsApertura"; }

    /// Posting account.
    std::string Cuenta() const { return cuenta_; }
    void Cuenta(std::string value) { cuenta_ = std::move(value); }
    /// Opening balance (debit positive).
    Currency Apertura() const { return apertura_; }
    void Apertura(Currency value) { apertura_ = value; }

    /// Creates the account's row (level `Niveles`) with `Apertura` and adds `Apertura` to the
    /// existing summary rows. Returns False.
    bool Insertar();
    /// Sets the account's row to the current `Apertura` and moves the summary rows from the
    /// stored amount to the new one; afterwards `Apertura` holds the stored (old) amount.
    /// An account without a row is not created, but its summary rows still receive the new
    /// amount. Returns False.
    bool Modificar();
    /// Loads the stored opening balance of `Cuenta` (0 when the account has no row). True.
    bool Cargar();

  private:
    std::string cuenta_;
    Currency apertura_;
};

}  // namespace kvlnmov
