#include "services/logwidget.h"

#include "support/widgets.h"

#include <QAction>
#include <QClipboard>
#include <QDateTime>
#include <QGuiApplication>
#include <QHeaderView>
#include <QMainWindow>
#include <QScrollBar>
#include <QTableWidget>
#include <QTest>

#include <gtest/gtest.h>

using namespace Vorta::Testing;
using Vorta::Log::Severity;
using VortaQt::LogEvent;
using VortaQt::LogWidget;

namespace {

class LogWidgetTest : public testing::Test {
protected:
    LogWidgetTest() {
        widget.resize(700, 200);
        QGuiApplication::clipboard()->setText(QStringLiteral("untouched"));
    }

    void add(int count) {
        for (int i = 0; i < count; ++i)
            widget.addToLog(LogEvent(Severity::Info, "message " + std::to_string(table.rowCount())));
    }

    [[nodiscard]] bool atEnd() const {
        return table.verticalScrollBar()->value() == table.verticalScrollBar()->maximum();
    }

    [[nodiscard]] QString text(int row, int column) const { return table.item(row, column)->text(); }

    void select(int row, int column) { table.item(row, column)->setSelected(true); }

    [[nodiscard]] static QString clipboard() { return QGuiApplication::clipboard()->text(); }

    LogWidget widget;
    QTableWidget& table = find<QTableWidget>(widget, QStringLiteral("tableWidget"));
};

TEST_F(LogWidgetTest, isATableOfThreeColumns) {
    EXPECT_EQ(widget.objectName(), QStringLiteral("LogWidget"));
    EXPECT_EQ(widget.windowTitle(), QStringLiteral("Log"));
    ASSERT_EQ(table.columnCount(), 3);
    EXPECT_EQ(table.rowCount(), 0);
    EXPECT_EQ(table.horizontalHeaderItem(0)->text(), QStringLiteral("Time"));
    EXPECT_EQ(table.horizontalHeaderItem(1)->text(), QStringLiteral("Type"));
    EXPECT_EQ(table.horizontalHeaderItem(2)->text(), QStringLiteral("Message"));
    EXPECT_TRUE(table.horizontalHeader()->defaultAlignment() & Qt::AlignLeft);
    EXPECT_TRUE(table.horizontalHeader()->stretchLastSection());
    EXPECT_EQ(table.columnWidth(0), 200);
    EXPECT_EQ(table.columnWidth(1), 100);
    EXPECT_EQ(table.columnWidth(2), 250);
    showAndActivate(widget);
    EXPECT_EQ(table.columnWidth(0), 200);
    EXPECT_EQ(table.columnWidth(1), 100);
    EXPECT_GT(table.columnWidth(2), 250) << "stretched";
}

TEST_F(LogWidgetTest, appendsARowThatCannotBeEdited) {
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    widget.addToLog(LogEvent(Severity::Warning, "too warm"));
    widget.addToLog(LogEvent(Severity::Trace, "Gr\u00fc\u00dfe"));
    const qint64 after = QDateTime::currentSecsSinceEpoch();
    ASSERT_EQ(table.rowCount(), 2);
    const qint64 time = QDateTime::fromString(text(0, 0), Qt::TextDate).toSecsSinceEpoch();
    EXPECT_GE(time, before);
    EXPECT_LE(time, after);
    EXPECT_EQ(text(0, 1), QStringLiteral("Warning"));
    EXPECT_EQ(text(0, 2), QStringLiteral("too warm"));
    EXPECT_EQ(text(1, 1), QStringLiteral("Trace"));
    EXPECT_EQ(text(1, 2), QStringLiteral("Gr\u00fc\u00dfe"));
    for (int column = 0; column < 3; ++column) {
        EXPECT_FALSE(table.item(0, column)->flags() & Qt::ItemIsEditable) << column;
        EXPECT_TRUE(table.item(0, column)->flags() & Qt::ItemIsSelectable) << column;
    }
}

TEST_F(LogWidgetTest, followsNewRowsAtTheEnd) {
    showAndActivate(widget);
    add(100);
    ASSERT_TRUE(waitFor([&] { return table.verticalScrollBar()->maximum() > 0 && atEnd(); }));
    add(1);
    EXPECT_TRUE(
        waitFor([&] { return table.visualItemRect(table.item(100, 2)).bottom() <= table.viewport()->height(); }));
}

TEST_F(LogWidgetTest, leavesTheViewWhereTheUserScrolledIt) {
    showAndActivate(widget);
    add(100);
    ASSERT_TRUE(waitFor([&] { return table.verticalScrollBar()->maximum() > 0 && atEnd(); }));
    table.verticalScrollBar()->setValue(10);
    add(1);
    // The row has arrived and a follow-up would have come after 5 ms.
    QTest::qWait(100);
    EXPECT_EQ(table.verticalScrollBar()->value(), 10);

    table.verticalScrollBar()->setValue(table.verticalScrollBar()->maximum());
    add(1);
    EXPECT_TRUE(waitFor([&] { return atEnd() && table.verticalScrollBar()->value() > 10; })) << "follows again";
}

TEST_F(LogWidgetTest, scrollsOnlyWhileVisible) {
    showAndActivate(widget);
    add(100);
    ASSERT_TRUE(waitFor([&] { return table.verticalScrollBar()->maximum() > 0 && atEnd(); }));
    table.verticalScrollBar()->setValue(0);
    widget.hide();
    widget.scrollToBottom();
    EXPECT_EQ(table.verticalScrollBar()->value(), 0);
    showAndActivate(widget);
    widget.scrollToBottom();
    EXPECT_TRUE(atEnd());
    EXPECT_GT(table.verticalScrollBar()->value(), 0);
}

TEST_F(LogWidgetTest, copiesCellsOfOneRowAligned) {
    showAndActivate(widget);
    add(1);
    select(0, 0);
    select(0, 2);
    QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(clipboard(), QStringLiteral("Time\tMessage\n") + text(0, 0) + QStringLiteral("\t\tmessage 0\n"));
}

TEST_F(LogWidgetTest, copiesRowsAsLines) {
    showAndActivate(widget);
    add(3);
    table.setRangeSelected(QTableWidgetSelectionRange(0, 1, 2, 2), true);
    QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(clipboard(), QStringLiteral("Type\tMessage\nInfo\tmessage 0\nInfo\tmessage 1\nInfo\tmessage 2\n"));
}

TEST_F(LogWidgetTest, copiesASingleCell) {
    showAndActivate(widget);
    add(2);
    select(1, 2);
    QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(clipboard(), QStringLiteral("Message\nmessage 1\n"));
}

TEST_F(LogWidgetTest, copiesInTheOrderOfTheSelection) {
    showAndActivate(widget);
    add(3);
    for (const int row : {2, 0})
        QTest::mouseClick(table.viewport(), Qt::LeftButton, Qt::ControlModifier,
                          table.visualItemRect(table.item(row, 2)).center());
    QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(clipboard(), QStringLiteral("Message\nmessage 2\nmessage 0\n"));
}

TEST_F(LogWidgetTest, aLineStartsWithoutTabs) {
    showAndActivate(widget);
    add(2);
    select(0, 1);
    select(1, 2);
    QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(clipboard(), QStringLiteral("Type\tMessage\nInfo\nmessage 1\n"));
}

TEST_F(LogWidgetTest, leavesTheClipboardAloneWithoutASelection) {
    showAndActivate(widget);
    add(2);
    QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(clipboard(), QStringLiteral("untouched"));
}

TEST_F(LogWidgetTest, takesTheCopyKeyItself) {
    showAndActivate(widget);
    add(1);
    select(0, 2);
    QKeyEvent copy(QEvent::KeyPress, Qt::Key_C, Qt::ControlModifier);
    copy.ignore();
    QCoreApplication::sendEvent(&widget, &copy);
    EXPECT_TRUE(copy.isAccepted());
    EXPECT_EQ(clipboard(), QStringLiteral("Message\nmessage 0\n"));
    QKeyEvent other(QEvent::KeyPress, Qt::Key_F9, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &other);
    EXPECT_FALSE(other.isAccepted()) << "left to the parent";
}

TEST_F(LogWidgetTest, otherKeysMoveThroughTheTable) {
    showAndActivate(widget);
    add(3);
    table.setCurrentCell(0, 2);
    QTest::keyClick(&table, Qt::Key_Down);
    EXPECT_EQ(table.currentRow(), 1);
    EXPECT_EQ(clipboard(), QStringLiteral("untouched"));
}

TEST(LogWidgetInAWindow, copiesAlthoughTheWindowHasACopyCommand) {
    QMainWindow window;
    auto* log = new LogWidget(&window);
    window.setCentralWidget(log);
    QAction command(QStringLiteral("Copy Image"), &window);
    command.setShortcut(QKeySequence::Copy);
    window.addAction(&command);
    bool triggered = false;
    QObject::connect(&command, &QAction::triggered, [&] { triggered = true; });
    showAndActivate(window);

    auto& table = find<QTableWidget>(*log, QStringLiteral("tableWidget"));
    log->addToLog(LogEvent(Severity::Error, "broken"));
    log->setFocus();
    table.item(0, 2)->setSelected(true);
    QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("Message\nbroken\n"));
    EXPECT_FALSE(triggered);
}

} // namespace
