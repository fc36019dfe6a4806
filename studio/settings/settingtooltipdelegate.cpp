#include "settings/settingtooltipdelegate.h"

#include "settings/settingtooltip.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QToolTip>

namespace VortaQt {

namespace {

/// The names from the top of the tree down to the row.
QString pathOf(const QModelIndex& index) {
    const QString name = index.siblingAtColumn(0).data().toString();
    return index.parent().isValid() ? QString(pathOf(index.parent()) + QLatin1Char('/') + name) : name;
}

} // namespace

bool SettingToolTipDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                                       const QModelIndex& index) {
    if (!event || !view || event->type() != QEvent::ToolTip || !index.isValid())
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    const QString value = index.siblingAtColumn(1).data().toString();
    QToolTip::showText(event->globalPos(), settingToolTip(pathOf(index), value), view->viewport(), option.rect);
    return true;
}

} // namespace VortaQt
