#include "settings/settingstreeitem.h"

#include <QtAlgorithms>

#include <utility>

SettingsTreeItem::SettingsTreeItem(QList<QVariant> data) : data_(std::move(data)) {}

SettingsTreeItem::~SettingsTreeItem() {
    qDeleteAll(children_);
}

SettingsTreeItem& SettingsTreeItem::addChild(std::unique_ptr<SettingsTreeItem> child) {
    child->parent_ = this;
    children_.append(child.get());
    return *child.release();
}

int SettingsTreeItem::row() const {
    // The lists are a handful long.
    for (int row = 0; parent_ && row < parent_->childCount(); ++row)
        if (parent_->child(row) == this)
            return row;
    return 0;
}
