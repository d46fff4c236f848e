#include "entry_table_model.h"

namespace kvlnmov::viewer {

namespace {

bool isAmountOrNumber(int column) {
    using Column = EntryView::Column;
    return column == static_cast<int>(Column::Apunte) || column == static_cast<int>(Column::Debe) ||
           column == static_cast<int>(Column::Haber);
}

}  // namespace

EntryTableModel::EntryTableModel(EntryView& view, QObject* parent)
    : QAbstractTableModel(parent), view_(view), shown_(static_cast<int>(view.rows().size())) {}

int EntryTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : shown_;
}

int EntryTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : EntryView::kColumnCount;
}

QVariant EntryTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= shown_) return {};
    if (role == Qt::DisplayRole) {
        const EntryView::Row& row = view_.rows()[static_cast<std::size_t>(index.row())];
        return QString::fromStdString(row[static_cast<std::size_t>(index.column())]);
    }
    if (role == Qt::TextAlignmentRole) {
        if (isAmountOrNumber(index.column()))
            return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
        if (index.column() == static_cast<int>(EntryView::Column::Punteo))
            return QVariant::fromValue(Qt::AlignCenter);
        return QVariant::fromValue(Qt::AlignLeft | Qt::AlignVCenter);
    }
    return {};
}

QVariant EntryTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= EntryView::kColumnCount)
        return QAbstractTableModel::headerData(section, orientation, role);
    if (role == Qt::DisplayRole)
        return QString::fromStdString(
            EntryView::columnCaptions()[static_cast<std::size_t>(section)]);
    return QAbstractTableModel::headerData(section, orientation, role);
}

bool EntryTableModel::canFetchMore(const QModelIndex& parent) const {
    return !parent.isValid() && view_.canFetchMore();
}

void EntryTableModel::fetchMore(const QModelIndex& parent) {
    if (parent.isValid()) return;
    // The view adds the batch (and shows a failure in its message box) before the grid is
    // told, so the grid never sees rows it was not told of.
    view_.scroll();
    const int total = static_cast<int>(view_.rows().size());
    if (total <= shown_) return;
    beginInsertRows(QModelIndex(), shown_, total - 1);
    shown_ = total;
    endInsertRows();
}

}  // namespace kvlnmov::viewer
