#include "services/logwidget.h"

#include <QClipboard>
#include <QDateTime>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMutexLocker>
#include <QScrollBar>
#include <QStringList>
#include <QTableWidget>
#include <QVBoxLayout>

#include <set>

namespace VortaQt {

namespace {

QTableWidgetItem* readOnlyItem(const QString& text) {
    auto* item = new QTableWidgetItem(text);
    item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    return item;
}

/// The cells in their order, one line per row; a cell stands as many tabs behind the one before as it is columns away.
QString cellText(const QModelIndexList& cells) {
    QString text;
    int row = -1;
    int column = 0;
    for (const QModelIndex& cell : cells) {
        if (cell.row() != row)
            text += QLatin1Char('\n');
        else if (cell.column() > column)
            text += QString(cell.column() - column, QLatin1Char('\t'));
        row = cell.row();
        column = cell.column();
        text += cell.data(Qt::DisplayRole).toString();
    }
    return text;
}

} // namespace

LogWidget::LogWidget(QWidget* parent) : QWidget(parent), table_(new QTableWidget(0, 3, this)) {
    setObjectName(QStringLiteral("LogWidget"));
    setWindowTitle(QStringLiteral("Log"));

    table_->setObjectName(QStringLiteral("tableWidget"));
    table_->setHorizontalHeaderLabels({QStringLiteral("Time"), QStringLiteral("Type"), QStringLiteral("Message")});
    table_->setColumnWidth(0, 200);
    table_->setColumnWidth(1, 100);
    table_->setColumnWidth(2, 250);
    table_->horizontalHeader()->setStretchLastSection(true);
    table_->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    table_->installEventFilter(this);
    setFocusProxy(table_);

    followUp_.setSingleShot(true);
    followUp_.setInterval(5);
    connect(&followUp_, &QTimer::timeout, this, &LogWidget::scrollToBottom);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(table_);
}

void LogWidget::addToLog(const VortaQt::LogEvent& event) {
    const QString type = QString::fromStdString(Vorta::Log::toString(event.severity));
    const QString time = QDateTime::currentDateTime().toString(Qt::TextDate);

    const QMutexLocker lock{&mutex_};
    const QScrollBar* scrollBar = table_->verticalScrollBar();
    const bool follow = scrollBar->value() == scrollBar->maximum();
    const int row = table_->rowCount();
    table_->insertRow(row);
    table_->setItem(row, 0, readOnlyItem(time));
    table_->setItem(row, 1, readOnlyItem(type));
    table_->setItem(row, 2, readOnlyItem(event.message));
    // The scroll bar learns of the new row only after this.
    if (follow)
        followUp_.start();
}

void LogWidget::scrollToBottom() {
    if (isVisible())
        table_->scrollToBottom();
}

bool LogWidget::eventFilter(QObject* watched, QEvent* event) {
    if (watched == table_ && (event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride)) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->matches(QKeySequence::Copy)) {
            if (event->type() == QEvent::KeyPress)
                copySelection();
            key->accept();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void LogWidget::keyPressEvent(QKeyEvent* event) {
    if (!event->matches(QKeySequence::Copy)) {
        QWidget::keyPressEvent(event);
        return;
    }
    copySelection();
    event->accept();
}

void LogWidget::copySelection() const {
    const QModelIndexList cells = table_->selectionModel()->selectedIndexes();
    if (cells.isEmpty())
        return;
    std::set<int> columns;
    for (const QModelIndex& cell : cells)
        columns.insert(cell.column());
    QStringList headers;
    for (const int column : columns)
        headers += table_->horizontalHeaderItem(column)->text();
    QGuiApplication::clipboard()->setText(headers.join(QLatin1Char('\t')) + cellText(cells) + QLatin1Char('\n'));
}

} // namespace VortaQt
