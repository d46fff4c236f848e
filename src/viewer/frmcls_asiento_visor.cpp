#include "kvlnmov/viewer/frmcls_asiento_visor.h"

#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/library.h"

namespace kvlnmov {

namespace {
constexpr const char* kShowSource = "frmclsAsientoVisor::Show";
}

frmclsAsientoVisor::~frmclsAsientoVisor() {
    try {
        if (form_ && form_->loaded()) form_->unload();
    } catch (...) {
        // Ending the object must not fail; the form is gone either way.
    }
}

void frmclsAsientoVisor::ConexionKavelon(db::ConnectionRef connection) {
    offerConnection(std::move(connection));
}

void frmclsAsientoVisor::Show(std::optional<std::int16_t> Modal,
                              std::optional<ObjectRef> OwnerForm) {
    if (codEmpresa_ == 0 || codEjercicio_ == 0 || asiento_ == 0) {
        userInterface().messageBox(
            "No es posible iniciar el visor, existe algún parámetro de entrada a 0.",
            MsgBoxIcon::None, MsgBoxButtons::Ok, "");
        return;
    }
    plainHandler(kShowSource, Access::Reads, [&] {
        const std::shared_ptr<EntryViewerFormHook> hook = entryViewerFormHook();
        if (!hook) {
            throw Error(errc::kCheck, kShowSource,
                        "No hay ningún formulario instalado para el visor de asientos.");
        }
        EntryViewerRequest request;
        request.company = codEmpresa_;
        request.exercise = codEjercicio_;
        request.entry = asiento_;
        request.context = context_;
        request.connection = sharedConnection();
        request.modal = Modal.value_or(0);
        request.owner = OwnerForm.value_or(nullptr);
        form_ = hook->open(request);
    });
}

}  // namespace kvlnmov
