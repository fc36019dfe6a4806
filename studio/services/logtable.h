#pragma once

#include <QElapsedTimer>
#include <QTableWidget>
#include <QTimer>

namespace VortaQt {

/// A table whose rows may come by the thousand in a second. By itself a table is laid out once for each new row, which
/// costs far more than the row; this one is laid out once for all rows that came meanwhile, twenty-five times a second
/// at most. A row that comes alone is laid out at once, as ever. GUI thread.
class LogTable : public QTableWidget {
public:
    LogTable(int columns, QWidget* parent);

    /// Appends a row of read-only cells, one for each text.
    void appendRow(const QStringList& texts);

    /// Lays out what has been put off, so that the scroll bar knows of all rows.
    void layOutRows();

private:
    void putOffLayout();
    void layOutNow();

    QTimer layout_;
    QElapsedTimer sinceLayout_;
};

} // namespace VortaQt
