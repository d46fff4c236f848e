#include "frm_asiento_visor.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTableView>
#include <QVBoxLayout>

#include "entry_table_model.h"

namespace kvlnmov::viewer {

namespace {

using Column = EntryView::Column;

constexpr int column(Column value) { return static_cast<int>(value); }

QLineEdit* readOnlyBox(const char* name, Qt::Alignment alignment, QWidget* parent) {
    auto* box = new QLineEdit(parent);
    box->setObjectName(name);
    box->setReadOnly(true);
    box->setAlignment(alignment);
    return box;
}

// An imbalance box stands out when the entry does not balance.
void markImbalance(QLineEdit* box) {
    const bool balanced = box->text() == QLatin1String("0");
    box->setStyleSheet(balanced ? QString() : QStringLiteral("color: #b00020; font-weight: bold;"));
}

}  // namespace

frmAsientoVisor::frmAsientoVisor(const EntryViewerRequest& request, QWidget* parent)
    : QDialog(parent),
      view_(std::make_unique<EntryView>(request.connection, request.context, request.company,
                                        request.exercise, request.entry)) {
    setObjectName("frmAsientoVisor");
    view_->load();
    buildControls();
    showEntry();
    connect(this, &QDialog::finished, this, [this] {
        loaded_ = false;
        // Unloading closes the line query and lets the shared references go.
        view_->close();
    });
}

frmAsientoVisor::~frmAsientoVisor() = default;

void frmAsientoVisor::buildControls() {
    setWindowTitle(tr("Visor de asientos"));
    setSizeGripEnabled(true);
    resize(1080, 620);

    txtAsiento_ = readOnlyBox("txtAsiento", Qt::AlignRight | Qt::AlignVCenter, this);
    txtFecha_ = readOnlyBox("txtFecha", Qt::AlignCenter, this);
    const QFontMetrics metrics(font());
    txtAsiento_->setFixedWidth(metrics.horizontalAdvance(QStringLiteral("0000000000")) + 16);
    txtFecha_->setFixedWidth(metrics.horizontalAdvance(QStringLiteral("00/00/0000")) + 24);
    lblUltMod_ = new QLabel(this);
    lblUltMod_->setObjectName("lblUltMod");
    lblUser_ = new QLabel(this);
    lblUser_->setObjectName("lblUser");
    QFont strong = lblUser_->font();
    strong.setBold(true);
    lblUser_->setFont(strong);

    auto* header = new QHBoxLayout;
    auto* entryCaption = new QLabel(tr("Asiento:"), this);
    entryCaption->setBuddy(txtAsiento_);
    auto* dateCaption = new QLabel(tr("Fecha:"), this);
    dateCaption->setBuddy(txtFecha_);
    header->addWidget(entryCaption);
    header->addWidget(txtAsiento_);
    header->addSpacing(16);
    header->addWidget(dateCaption);
    header->addWidget(txtFecha_);
    header->addStretch(1);
    header->addWidget(lblUltMod_);
    header->addWidget(lblUser_);

    model_ = new EntryTableModel(*view_, this);
    vsApuntes_ = new QTableView(this);
    vsApuntes_->setObjectName("vsApuntes");
    vsApuntes_->setModel(model_);
    vsApuntes_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    vsApuntes_->setSelectionBehavior(QAbstractItemView::SelectRows);
    vsApuntes_->setSelectionMode(QAbstractItemView::SingleSelection);
    vsApuntes_->setAlternatingRowColors(true);
    vsApuntes_->setWordWrap(false);
    vsApuntes_->verticalHeader()->hide();
    vsApuntes_->verticalHeader()->setDefaultSectionSize(metrics.height() + 6);
    QHeaderView* columns = vsApuntes_->horizontalHeader();
    columns->setHighlightSections(false);
    columns->setSectionResizeMode(QHeaderView::ResizeToContents);
    columns->setSectionResizeMode(column(Column::Nombre), QHeaderView::Stretch);
    columns->setSectionResizeMode(column(Column::Concepto), QHeaderView::Stretch);
    const int amountWidth = metrics.horizontalAdvance(QStringLiteral("999.999.999,99")) + 16;
    for (Column amount : {Column::Debe, Column::Haber}) {
        columns->setSectionResizeMode(column(amount), QHeaderView::Fixed);
        columns->resizeSection(column(amount), amountWidth);
    }

    // The totals sit under the debit and credit columns; alignTotals() places them.
    totalsArea_ = new QWidget(this);
    txtTDebe_ = readOnlyBox("txtTDebe", Qt::AlignRight | Qt::AlignVCenter, totalsArea_);
    txtTHaber_ = readOnlyBox("txtTHaber", Qt::AlignRight | Qt::AlignVCenter, totalsArea_);
    txtDDebe_ = readOnlyBox("txtDDebe", Qt::AlignRight | Qt::AlignVCenter, totalsArea_);
    txtDHaber_ = readOnlyBox("txtDHaber", Qt::AlignRight | Qt::AlignVCenter, totalsArea_);
    lblTotales_ = new QLabel(tr("Totales:"), totalsArea_);
    lblDescuadre_ = new QLabel(tr("Descuadre:"), totalsArea_);
    for (QLabel* label : {lblTotales_, lblDescuadre_})
        label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    const int rowHeight = txtTDebe_->sizeHint().height();
    totalsArea_->setFixedHeight(2 * rowHeight + 6);

    cmdSalir_ = new QPushButton(tr("&Salir"), this);
    cmdSalir_->setObjectName("cmdSalir");
    cmdSalir_->setAutoDefault(false);
    connect(cmdSalir_, &QPushButton::clicked, this, &QDialog::close);
    auto* footer = new QHBoxLayout;
    footer->addStretch(1);
    footer->addWidget(cmdSalir_);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(header);
    layout->addWidget(vsApuntes_, 1);
    layout->addWidget(totalsArea_);
    layout->addLayout(footer);

    connect(columns, &QHeaderView::sectionResized, this, [this] { alignTotals(); });
    connect(vsApuntes_->horizontalScrollBar(), &QScrollBar::valueChanged, this,
            [this] { alignTotals(); });
    connect(vsApuntes_->verticalScrollBar(), &QScrollBar::rangeChanged, this,
            [this] { alignTotals(); });
    vsApuntes_->installEventFilter(this);
    totalsArea_->installEventFilter(this);
    vsApuntes_->setFocus();
}

void frmAsientoVisor::showEntry() {
    txtAsiento_->setText(QString::fromStdString(view_->numero()));
    txtFecha_->setText(QString::fromStdString(view_->fecha()));
    txtTDebe_->setText(QString::fromStdString(view_->totalDebe()));
    txtTHaber_->setText(QString::fromStdString(view_->totalHaber()));
    txtDDebe_->setText(QString::fromStdString(view_->descuadreDebe()));
    txtDHaber_->setText(QString::fromStdString(view_->descuadreHaber()));
    markImbalance(txtDDebe_);
    markImbalance(txtDHaber_);
    lblUltMod_->setText(QString::fromStdString(view_->userCaption()));
    lblUser_->setText(QString::fromStdString(view_->userName()));
}

void frmAsientoVisor::alignTotals() {
    if (!vsApuntes_ || !totalsArea_) return;
    const QHeaderView* columns = vsApuntes_->horizontalHeader();
    // Column positions in the totals area's coordinates.
    auto left = [&](Column which) {
        const QPoint inViewport(columns->sectionViewportPosition(column(which)), 0);
        return totalsArea_->mapFrom(this, vsApuntes_->viewport()->mapTo(this, inViewport)).x();
    };
    const int debitX = left(Column::Debe);
    const int creditX = left(Column::Haber);
    const int debitWidth = columns->sectionSize(column(Column::Debe));
    const int creditWidth = columns->sectionSize(column(Column::Haber));
    const int rowHeight = txtTDebe_->sizeHint().height();
    const int labelWidth = 120;
    txtTDebe_->setGeometry(debitX, 0, debitWidth, rowHeight);
    txtTHaber_->setGeometry(creditX, 0, creditWidth, rowHeight);
    txtDDebe_->setGeometry(debitX, rowHeight + 6, debitWidth, rowHeight);
    txtDHaber_->setGeometry(creditX, rowHeight + 6, creditWidth, rowHeight);
    lblTotales_->setGeometry(debitX - labelWidth - 8, 0, labelWidth, rowHeight);
    lblDescuadre_->setGeometry(debitX - labelWidth - 8, rowHeight + 6, labelWidth, rowHeight);
}

bool frmAsientoVisor::eventFilter(QObject* watched, QEvent* event) {
    if ((watched == vsApuntes_ || watched == totalsArea_) &&
        (event->type() == QEvent::Resize || event->type() == QEvent::Move ||
         event->type() == QEvent::Show)) {
        alignTotals();
    }
    return QDialog::eventFilter(watched, event);
}

}  // namespace kvlnmov::viewer
