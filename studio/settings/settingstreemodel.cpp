#include "settings/settingstreemodel.h"

#include "settings/latin1.h"

#include <map>
#include <memory>
#include <string_view>

using VortaQt::latin1;

namespace {

/// Adds settings below the items of their groups, which it makes as they are needed.
class TreeBuilder {
public:
    explicit TreeBuilder(SettingsTreeItem& root) : items_{{std::string_view{}, &root}} {}

    void add(std::string_view path, std::string_view name, const QString& value) { addRow(groupOf(path), name, value); }

private:
    static SettingsTreeItem& addRow(SettingsTreeItem& group, std::string_view name, const QString& value) {
        return group.addChild(std::make_unique<SettingsTreeItem>(QList<QVariant>{QString(latin1(name)), value}));
    }

    SettingsTreeItem& groupOf(std::string_view path) {
        const std::size_t slash = path.rfind('/');
        const std::string_view group = path.substr(0, slash == std::string_view::npos ? 0 : slash);
        auto found = items_.find(group);
        if (found == items_.end()) {
            const std::string_view name = group.substr(group.rfind('/') + 1); // npos + 1 is 0
            found = items_.emplace(group, &addRow(groupOf(group), name, QStringLiteral(""))).first;
        }
        return *found->second;
    }

    std::map<std::string_view, SettingsTreeItem*> items_; ///< groups by path; the root's path is empty
};

} // namespace

SettingsTreeModel::SettingsTreeModel(const Vorta::Settings& settings, QObject* parent)
    : QAbstractItemModel(parent), root_({QStringLiteral("Name"), QStringLiteral("Value")}) {
    TreeBuilder builder(root_);
    settings.visit([&](const auto& setting) {
        builder.add(setting.path, setting.name, QString::fromLocal8Bit(setting.toString().c_str()));
    });
}

const SettingsTreeItem& SettingsTreeModel::itemAt(const QModelIndex& index) const {
    return index.isValid() ? *static_cast<const SettingsTreeItem*>(index.internalPointer()) : root_;
}

QModelIndex SettingsTreeModel::index(int row, int column, const QModelIndex& parent) const {
    return hasIndex(row, column, parent) ? createIndex(row, column, itemAt(parent).child(row)) : QModelIndex{};
}

QModelIndex SettingsTreeModel::parent(const QModelIndex& index) const {
    SettingsTreeItem* const item = itemAt(index).parent();
    return item && item != &root_ ? createIndex(item->row(), 0, item) : QModelIndex{};
}

int SettingsTreeModel::rowCount(const QModelIndex& parent) const {
    // As in any tree, only the first column has children.
    return parent.column() > 0 ? 0 : itemAt(parent).childCount();
}

int SettingsTreeModel::columnCount(const QModelIndex& parent) const {
    return itemAt(parent).columnCount();
}

QVariant SettingsTreeModel::data(const QModelIndex& index, int role) const {
    return index.isValid() && role == Qt::DisplayRole ? itemAt(index).data(index.column()) : QVariant{};
}

QVariant SettingsTreeModel::headerData(int section, Qt::Orientation orientation, int role) const {
    return orientation == Qt::Horizontal && role == Qt::DisplayRole ? root_.data(section) : QVariant{};
}

Qt::ItemFlags SettingsTreeModel::flags(const QModelIndex& index) const {
    return index.isValid() ? Qt::ItemIsSelectable | Qt::ItemIsEnabled : Qt::ItemFlags{};
}
