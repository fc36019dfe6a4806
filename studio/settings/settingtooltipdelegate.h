#pragma once

#include <QStyledItemDelegate>

namespace VortaQt {

/// Shows what a setting is and does while the mouse rests on its row in a tree of names and values, which has a row for
/// each component of a path. GUI thread.
class SettingToolTipDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;
};

} // namespace VortaQt
