#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/frame/object.h"
#include "kvlnmov/viewer/form_hook.h"

namespace kvlnmov {

/// Opens the read-only entry viewer form `frmAsientoVisor` on one entry of a company and
/// exercise. The form itself belongs to the application, which installs an
/// `EntryViewerFormHook` (kvlnmov/viewer/form_hook.h); the form's contents come from
/// `EntryView` (kvlnmov/viewer/entry_view.h).
class frmclsAsientoVisor : public Object {
  public:
    frmclsAsientoVisor() = default;
    frmclsAsientoVisor(const frmclsAsientoVisor&) = delete;
    frmclsAsientoVisor& operator=(const frmclsAsientoVisor&) = delete;
    /// Unloads the form this object opened if it is still loaded.
    ~frmclsAsientoVisor() override;

    std::string className() const override { return "frmclsAsientoVisor"; }

    std::int16_t Cod_Empresa() const { return codEmpresa_; }
    void Cod_Empresa(std::int16_t value) { codEmpresa_ = value; }
    std::int16_t Cod_Ejercicio() const { return codEjercicio_; }
    void Cod_Ejercicio(std::int16_t value) { codEjercicio_ = value; }
    std::int32_t Asiento() const { return asiento_; }
    void Asiento(std::int32_t value) { asiento_ = value; }
    /// (set only) The company/exercise object handed on to the form.
    void EmpresaKavelon(cEmpresaRef context) { context_ = std::move(context); }
    /// (set only) The database connection: it becomes the library's only if none is held yet
    /// (the first connection handed to any object wins), and the form reads the library's.
    void ConexionKavelon(db::ConnectionRef connection);

    /// Opens the form on entry `Asiento` of `Cod_Empresa`/`Cod_Ejercicio`, modally when
    /// `Modal` is non-zero, owned by `OwnerForm`.
    ///
    /// When any of the three keys is 0 it shows the message box "No es posible iniciar el
    /// visor, existe algún parámetro de entrada a 0." (OK button only, no icon) and opens
    /// nothing. With no form hook installed it raises error 1000 "No hay ningún formulario
    /// instalado para el visor de asientos." (source "frmclsAsientoVisor::Show"); errors of
    /// the hook (loading the entry) are raised with the same source.
    void Show(std::optional<std::int16_t> Modal, std::optional<ObjectRef> OwnerForm);

  private:
    std::int16_t codEmpresa_ = 0;
    std::int16_t codEjercicio_ = 0;
    std::int32_t asiento_ = 0;
    cEmpresaRef context_;
    std::shared_ptr<EntryViewerForm> form_;
};

}  // namespace kvlnmov
