#pragma once

#include <cstdint>
#include <memory>

#include "kvlnmov/core/context.h"
#include "kvlnmov/db/connection.h"
#include "kvlnmov/viewer/form_hook.h"
#include "kvlnmov/viewer/frmcls_asiento_visor.h"

namespace kvlnmov::viewer {

/// Opens the viewer form on one entry as the application does, through frmclsAsientoVisor.
/// The class refuses any zero key with its notice, yet the opening entry of an exercise is
/// entry 0: that entry (with non-zero company and exercise) is opened through the installed
/// form hook directly, with the request the class would have made. Either way the form is
/// unloaded, if still loaded, when this object ends, as the class does with its own.
class EntryLauncher {
  public:
    EntryLauncher(db::ConnectionRef connection, cEmpresaRef context, std::int16_t company,
                  std::int16_t exercise, std::int32_t entry);
    ~EntryLauncher();
    EntryLauncher(const EntryLauncher&) = delete;
    EntryLauncher& operator=(const EntryLauncher&) = delete;

    /// Shows the form, modally when `modal` is non-zero. Raises what the class raises; for
    /// entry 0 without an installed form hook, error 1000.
    void Show(std::int16_t modal, ObjectRef owner = nullptr);

  private:
    frmclsAsientoVisor visor_;
    cEmpresaRef context_;
    std::shared_ptr<EntryViewerForm> opening_;
};

}  // namespace kvlnmov::viewer
