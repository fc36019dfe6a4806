#include "settings/expertsettingstablemodel.h"

namespace VortaQt {

int ExpertSettingsTableModel::columnCount(const QModelIndex& /*parent*/) const {
    return 2;
}

int ExpertSettingsTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : paths_.size();
}

QVariant ExpertSettingsTableModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !index.isValid() || index.row() >= paths_.size())
        return {};
    const QString& path = paths_[index.row()];
    switch (index.column()) {
    case 0:
        return path;
    case 1:
        return value(path);
    default:
        return {};
    }
}

QVariant ExpertSettingsTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role == Qt::TextAlignmentRole)
        return static_cast<int>(Qt::AlignCenter);
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal)
        return {};
    switch (section) {
    case 0:
        return QStringLiteral("Name");
    case 1:
        return QStringLiteral("Value");
    default:
        return {};
    }
}

void ExpertSettingsTableModel::addSetting(const QString& path, const QString& value) {
    beginResetModel();
    if (!paths_.contains(path))
        paths_.append(path);
    values_.insert(path, value);
    endResetModel();
    Q_EMIT settingAdded(path, value);
}

void ExpertSettingsTableModel::removeSetting(const QString& path) {
    if (!paths_.contains(path))
        return;
    beginResetModel();
    values_.remove(path);
    paths_.removeOne(path); // last: `path` may be the very text in the list
    endResetModel();
}

void ExpertSettingsTableModel::clear() {
    beginResetModel();
    paths_.clear();
    values_.clear();
    endResetModel();
}

} // namespace VortaQt
