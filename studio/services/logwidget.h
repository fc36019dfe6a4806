#pragma once

#include "services/logevent.h"

#include <QMutex>
#include <QTimer>
#include <QWidget>

namespace VortaQt {

class LogTable;

/// The log as a table "Time", "Type", "Message". It follows new messages while it is scrolled to its end, and the
/// selected cells can be copied as text with the platform's Copy key. GUI thread.
class LogWidget : public QWidget {
    Q_OBJECT

public:
    explicit LogWidget(QWidget* parent = nullptr);

    /// Also looks at the table's keys: the table by itself copies one cell only.
    bool eventFilter(QObject* watched, QEvent* event) override;

public Q_SLOTS:
    /// Appends a row with the present time.
    void addToLog(const VortaQt::LogEvent& event);

    /// Scrolls to the last row, if the widget is visible.
    void scrollToBottom();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    /// Puts the selected cells on the clipboard, tab-separated below the headers of their columns. Without a selection
    /// the clipboard keeps what it has.
    void copySelection() const;

    LogTable* table_;
    QMutex mutex_;
    qint64 second_ = -1; ///< since the epoch, that `time_` tells
    QString time_;
    /// One follow-up for all rows of a burst, so that none is left to move a view that the user has scrolled since.
    QTimer followUp_;
};

} // namespace VortaQt
