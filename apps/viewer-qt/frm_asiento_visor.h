#pragma once

#include <QDialog>
#include <memory>

#include "kvlnmov/viewer/entry_view.h"
#include "kvlnmov/viewer/form_hook.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QTableView;

namespace kvlnmov::viewer {

class EntryTableModel;

/// The entry viewer form: the entry's number and date, its lines in the grid `vsApuntes`
/// (read 200 at a time as the grid is scrolled to its end), the totals `txtTDebe` and
/// `txtTHaber`, the imbalance `txtDDebe` and `txtDHaber`, the last user `lblUser` and the
/// close button `cmdSalir`. The grid takes the free space when the form is resized.
///
/// The entry is read when the form is made (errors are raised from the constructor); the line
/// query stays open until the form is closed.
class frmAsientoVisor : public QDialog {
    Q_OBJECT

  public:
    frmAsientoVisor(const EntryViewerRequest& request, QWidget* parent = nullptr);
    ~frmAsientoVisor() override;

    /// True until the form is closed.
    bool isLoaded() const { return loaded_; }
    const EntryView& view() const { return *view_; }

  private:
    void buildControls();
    void showEntry();
    /// Keeps the totals boxes under the debit and credit columns.
    void alignTotals();
    bool eventFilter(QObject* watched, QEvent* event) override;

    std::unique_ptr<EntryView> view_;
    EntryTableModel* model_ = nullptr;
    QTableView* vsApuntes_ = nullptr;
    QLineEdit* txtAsiento_ = nullptr;
    QLineEdit* txtFecha_ = nullptr;
    QLineEdit* txtTDebe_ = nullptr;
    QLineEdit* txtTHaber_ = nullptr;
    QLineEdit* txtDDebe_ = nullptr;
    QLineEdit* txtDHaber_ = nullptr;
    QLabel* lblUltMod_ = nullptr;
    QLabel* lblUser_ = nullptr;
    QLabel* lblTotales_ = nullptr;
    QLabel* lblDescuadre_ = nullptr;
    QWidget* totalsArea_ = nullptr;
    QPushButton* cmdSalir_ = nullptr;
    bool loaded_ = true;
};

}  // namespace kvlnmov::viewer
