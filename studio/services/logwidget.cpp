#include "services/logwidget.h"

#include "services/logtable.h"

#include <QClipboard>
#include <QDateTime>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMutexLocker>
#include <QScrollBar>
#include <QStringList>
#include <QVBoxLayout>

#include <set>

namespace VortaQt {

namespace {

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

LogWidget::LogWidget(QWidget* parent) : QWidget(parent), table_(new LogTable(3, this)) {
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

    const QMutexLocker lock{&mutex_};
    // Local time is costly to ask for, and the text changes once a second.
    if (const qint64 second = QDateTime::currentSecsSinceEpoch(); second != second_) {
        second_ = second;
        time_ = QDateTime::fromSecsSinceEpoch(second).toString(Qt::TextDate);
    }
    const QScrollBar* scrollBar = table_->verticalScrollBar();
    const bool follow = scrollBar->value() == scrollBar->maximum();
    table_->appendRow({time_, type, event.message});
    // The scroll bar learns of the new row only after this.
    if (follow)
        followUp_.start();
}

void LogWidget::scrollToBottom() {
    if (!isVisible())
        return;
    table_->layOutRows();
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
