#include "services/logtable.h"

#include <QHeaderView>
#include <QSignalBlocker>

#include <algorithm>

namespace VortaQt {

namespace {

constexpr qint64 layoutIntervalMs = 40;

} // namespace

LogTable::LogTable(int columns, QWidget* parent) : QTableWidget(0, columns, parent) {
    layout_.setSingleShot(true);
    connect(&layout_, &QTimer::timeout, this, &LogTable::layOutNow);
    // The view's own answer to each new row.
    disconnect(verticalHeader(), &QHeaderView::sectionCountChanged, this, nullptr);
    connect(verticalHeader(), &QHeaderView::sectionCountChanged, this, &LogTable::putOffLayout);
}

void LogTable::appendRow(const QStringList& texts) {
    const int row = rowCount();
    insertRow(row);
    // The new row has yet to be drawn: that its cells are no longer empty is news to nobody.
    const QSignalBlocker blocker(model());
    for (int column = 0; column < texts.size(); ++column) {
        auto* item = new QTableWidgetItem(texts[column]);
        item->setFlags(item->flags() & ~Qt::ItemIsEditable);
        setItem(row, column, item);
    }
}

void LogTable::putOffLayout() {
    if (layout_.isActive())
        return;
    const qint64 rest = sinceLayout_.isValid() ? layoutIntervalMs - sinceLayout_.elapsed() : 0;
    layout_.start(static_cast<int>(std::max<qint64>(rest, 0)));
    // Its numbers would be drawn again for each row, also for those out of sight.
    verticalHeader()->viewport()->setUpdatesEnabled(false);
}

void LogTable::layOutRows() {
    if (layout_.isActive())
        layOutNow();
}

void LogTable::layOutNow() {
    layout_.stop();
    sinceLayout_.start();
    rowCountChanged(0, rowCount());
    verticalHeader()->viewport()->setUpdatesEnabled(true);
}

} // namespace VortaQt
