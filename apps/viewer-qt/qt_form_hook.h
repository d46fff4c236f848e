#pragma once

#include <QPointer>
#include <QWidget>
#include <memory>

#include "frm_asiento_visor.h"
#include "kvlnmov/frame/object.h"
#include "kvlnmov/viewer/form_hook.h"

namespace kvlnmov::viewer {

/// A Qt window handed to `frmclsAsientoVisor.Show` as its owner form.
class OwnerWidget : public Object {
  public:
    explicit OwnerWidget(QWidget* widget) : widget(widget) {}
    std::string className() const override { return "Form"; }
    QPointer<QWidget> widget;
};

/// Opens the Qt form `frmAsientoVisor` for `frmclsAsientoVisor.Show`: modally (returning
/// when the user closes it) or not, over the owner's window when the owner is an
/// `OwnerWidget`. The form deletes itself once closed.
class QtFormHook : public EntryViewerFormHook {
  public:
    std::shared_ptr<EntryViewerForm> open(const EntryViewerRequest& request) override;
    /// The form opened last, while it exists.
    frmAsientoVisor* lastForm() const { return lastForm_; }

  private:
    QPointer<frmAsientoVisor> lastForm_;
};

}  // namespace kvlnmov::viewer
