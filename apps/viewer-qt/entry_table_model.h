#pragma once

#include <QAbstractTableModel>

#include "kvlnmov/viewer/entry_view.h"

namespace kvlnmov::viewer {

/// The grid `vsApuntes` over an entry view: the view's columns with their captions, and the
/// next batch of lines read when the grid is scrolled to its end (Qt asks `canFetchMore` and
/// `fetchMore` then). A batch that fails is shown by the view's message box and cleared.
class EntryTableModel : public QAbstractTableModel {
    Q_OBJECT

  public:
    /// `view` must be loaded and outlive the model.
    explicit EntryTableModel(EntryView& view, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;

  private:
    EntryView& view_;
    /// Rows announced to the grid; the view may hold more while a batch is being added.
    int shown_ = 0;
};

}  // namespace kvlnmov::viewer
