#pragma once

#include <QList>
#include <QVariant>

#include <memory>

/// One row of the settings tree: its texts, and the rows below it, which it owns. GUI thread.
class SettingsTreeItem {
public:
    /// `data` has one entry for each column.
    explicit SettingsTreeItem(QList<QVariant> data);
    SettingsTreeItem(const SettingsTreeItem&) = delete;
    SettingsTreeItem& operator=(const SettingsTreeItem&) = delete;
    virtual ~SettingsTreeItem();

    /// Takes a new last child.
    SettingsTreeItem& addChild(std::unique_ptr<SettingsTreeItem> child);

    /// Null for the root.
    [[nodiscard]] SettingsTreeItem* parent() const noexcept { return parent_; }
    /// The position among the parent's children; 0 for the root.
    [[nodiscard]] int row() const;
    /// Null when there is no such child.
    [[nodiscard]] SettingsTreeItem* child(int row) const { return children_.value(row, nullptr); }
    [[nodiscard]] int childCount() const { return children_.size(); }
    [[nodiscard]] int columnCount() const { return data_.size(); }
    /// Invalid when there is no such column.
    [[nodiscard]] QVariant data(int column) const { return data_.value(column); }

private:
    QList<QVariant> data_;
    SettingsTreeItem* parent_ = nullptr;
    QList<SettingsTreeItem*> children_;
};
