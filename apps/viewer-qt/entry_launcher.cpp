#include "entry_launcher.h"

#include "kvlnmov/core/library.h"
#include "kvlnmov/frame/error.h"

namespace kvlnmov::viewer {

EntryLauncher::EntryLauncher(db::ConnectionRef connection, cEmpresaRef context,
                             std::int16_t company, std::int16_t exercise, std::int32_t entry)
    : context_(context) {
    visor_.ConexionKavelon(std::move(connection));
    visor_.EmpresaKavelon(std::move(context));
    visor_.Cod_Empresa(company);
    visor_.Cod_Ejercicio(exercise);
    visor_.Asiento(entry);
}

EntryLauncher::~EntryLauncher() {
    try {
        if (opening_ && opening_->loaded()) opening_->unload();
    } catch (...) {
        // Ending the launcher must not fail; the form is gone either way.
    }
}

void EntryLauncher::Show(std::int16_t modal, ObjectRef owner) {
    if (visor_.Asiento() != 0 || visor_.Cod_Empresa() == 0 || visor_.Cod_Ejercicio() == 0) {
        visor_.Show(modal, owner ? std::optional<ObjectRef>(owner) : std::nullopt);
        return;
    }
    const std::shared_ptr<EntryViewerFormHook> hook = entryViewerFormHook();
    if (!hook) {
        throw Error(errc::kCheck, "kvlnmov-viewer",
                    "No entry viewer form is installed to show the opening entry.");
    }
    EntryViewerRequest request;
    request.company = visor_.Cod_Empresa();
    request.exercise = visor_.Cod_Ejercicio();
    request.entry = 0;
    request.context = context_;
    request.connection = sharedConnection();
    request.modal = modal;
    request.owner = std::move(owner);
    opening_ = hook->open(request);
}

}  // namespace kvlnmov::viewer
