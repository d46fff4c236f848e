#include "qt_form_hook.h"

#include "frm_asiento_visor.h"

namespace kvlnmov::viewer {

namespace {

// The class's handle on a form: loaded while the form exists and has not been closed.
class QtViewerForm : public EntryViewerForm {
  public:
    explicit QtViewerForm(frmAsientoVisor* form) : form_(form) {}
    bool loaded() const override { return form_ && form_->isLoaded(); }
    void unload() override {
        if (loaded()) form_->close();
    }

  private:
    QPointer<frmAsientoVisor> form_;
};

}  // namespace

std::shared_ptr<EntryViewerForm> QtFormHook::open(const EntryViewerRequest& request) {
    QWidget* owner = nullptr;
    if (auto ownerWidget = std::dynamic_pointer_cast<OwnerWidget>(request.owner))
        owner = ownerWidget->widget;
    // Loading reads the entry; its errors leave no form behind.
    auto form = std::make_unique<frmAsientoVisor>(request, owner);
    frmAsientoVisor* shown = form.release();
    QObject::connect(shown, &QDialog::finished, shown, &QObject::deleteLater);
    lastForm_ = shown;
    auto handle = std::make_shared<QtViewerForm>(shown);
    if (request.modal != 0) {
        shown->exec();
    } else {
        shown->show();
    }
    return handle;
}

}  // namespace kvlnmov::viewer
