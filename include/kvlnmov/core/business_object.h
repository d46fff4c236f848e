#pragma once

#include <memory>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/frame/object.h"

namespace kvlnmov {

/// Base of the public business classes: binding to the library-wide connection and to a
/// company/exercise context.
class BusinessObject : public Object {
  public:
    /// `Conexion` (set only): the connection becomes the library's only if none is held yet.
    virtual void Conexion(db::ConnectionRef connection);
    /// `cEmpresa` (set only): replaces this object's context.
    void cEmpresa(cEmpresaRef context) { context_ = std::move(context); }

  protected:
    /// The object's context; raises error 91 when none was set.
    kvlnmov::cEmpresa& empresa() const;
    /// The context fetched as a statement of `handler`'s operation: a missing one fails like
    /// a failing statement (error 91, retried with yields, then raised with the operation's
    /// source).
    kvlnmov::cEmpresa& empresa(RetryHandler& handler) const {
        return *handler.statement([&] { return &empresa(); });
    }
    const cEmpresaRef& empresaRef() const { return context_; }
    /// The library-wide connection; raises error 91 when none is held.
    db::Connection& connection() const;
    db::ConnectionRef connectionRef() const;

  private:
    cEmpresaRef context_;
};

}  // namespace kvlnmov
