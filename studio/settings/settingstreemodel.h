#pragma once

#include "settings/settingstreeitem.h"
#include "vorta/common/settings.h"

#include <QAbstractItemModel>

/// The public camera settings as a tree of two columns, "Name" and "Value", in the order of the catalogue; groups have
/// an empty value. It keeps the texts that the settings had when it was made. Read-only. GUI thread.
class SettingsTreeModel : public QAbstractItemModel {
    Q_OBJECT

public:
    explicit SettingsTreeModel(const Vorta::Settings& settings, QObject* parent = nullptr);

    [[nodiscard]] QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    [[nodiscard]] QModelIndex parent(const QModelIndex& index) const override;
    using QObject::parent;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role = Qt::DisplayRole) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    /// The root for an invalid index.
    [[nodiscard]] const SettingsTreeItem& itemAt(const QModelIndex& index) const;

    SettingsTreeItem root_;
};
