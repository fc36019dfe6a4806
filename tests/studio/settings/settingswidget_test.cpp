#include "settings/settingswidget.h"

#include "settings/settingtooltip.h"
#include "support/widgets.h"

#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QHelpEvent>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QToolTip>
#include <QTreeView>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using namespace Vorta::Testing;
using VortaQt::SettingsWidget;
using VortaQt::settingToolTip;

namespace {

Vorta::Settings withIris(const char* iris) {
    Vorta::Settings settings;
    settings.set("Iris", iris);
    return settings;
}

class SettingsView : public testing::Test {
protected:
    SettingsView() {
        QObject::connect(&widget, &SettingsWidget::settingsApplied,
                         [this](const Vorta::Settings& settings) { applied.push_back(settings); });
    }

    static QString shownIris(const QTreeView& tree) { return tree.model()->index(3, 1).data().toString(); }

    /// Every row that is not hidden in a collapsed one, from the top.
    static std::vector<QModelIndex> visibleRows(const QTreeView& tree) {
        std::vector<QModelIndex> rows;
        for (QModelIndex row = tree.model()->index(0, 0); row.isValid(); row = tree.indexBelow(row))
            rows.push_back(row);
        return rows;
    }

    /// What the tree says while the mouse rests on the cell.
    static QString toolTipAt(QTreeView& tree, const QModelIndex& index) {
        const QPoint position = tree.visualRect(index).center();
        QHelpEvent event(QEvent::ToolTip, position, tree.viewport()->mapToGlobal(position));
        QCoreApplication::sendEvent(tree.viewport(), &event);
        return QToolTip::text();
    }

    SettingsWidget widget;
    QTabWidget& tabs = find<QTabWidget>(widget, QStringLiteral("tabWidget"));
    QTreeView& camera = find<QTreeView>(widget, QStringLiteral("tabWidget/treeViewCamera"));
    QTreeView& frame = find<QTreeView>(widget, QStringLiteral("tabWidget/treeViewMeasurement"));
    QPushButton& apply = find<QPushButton>(widget, QStringLiteral("applyButton"));
    std::vector<Vorta::Settings> applied;
};

TEST_F(SettingsView, isAFormOfTwoPagesAndAButton) {
    EXPECT_EQ(widget.objectName(), QStringLiteral("SettingsWidget"));
    EXPECT_EQ(widget.windowTitle(), QStringLiteral("Form"));
    ASSERT_EQ(tabs.count(), 2);
    EXPECT_EQ(tabs.tabText(0), QStringLiteral("&Camera"));
    EXPECT_EQ(tabs.tabText(1), QStringLiteral("Current &Frame"));
    EXPECT_TRUE(tabs.widget(0)->isAncestorOf(&camera));
    EXPECT_TRUE(tabs.widget(1)->isAncestorOf(&frame));
    EXPECT_EQ(tabs.currentIndex(), 0);
    EXPECT_EQ(apply.text(), QStringLiteral("&Apply"));
    EXPECT_FALSE(tabs.isAncestorOf(&apply));
}

TEST_F(SettingsView, theButtonIsBelowThePages) {
    showAndActivate(widget);
    EXPECT_GT(apply.geometry().top(), tabs.geometry().bottom());
}

TEST_F(SettingsView, showsTheSettingsOfTheCamera) {
    tabs.setCurrentIndex(1);
    widget.setCameraSettings(withIris("17"));
    EXPECT_EQ(tabs.currentIndex(), 0);
    EXPECT_EQ(shownIris(camera), QStringLiteral("17"));
    EXPECT_EQ(frame.model(), nullptr) << "no frame yet";
}

TEST_F(SettingsView, showsTheSettingsOfTheFrame) {
    widget.setCameraSettings(withIris("17"));
    widget.setFrameSettings(withIris("18"));
    EXPECT_EQ(tabs.currentIndex(), 1);
    EXPECT_EQ(shownIris(frame), QStringLiteral("18"));
    EXPECT_EQ(shownIris(camera), QStringLiteral("17"));
}

TEST_F(SettingsView, theTreeThatWasFilledLastIsInFront) {
    widget.setFrameSettings(withIris("18"));
    widget.setCameraSettings(withIris("17"));
    EXPECT_EQ(tabs.currentIndex(), 0);
    widget.setFrameSettings(withIris("18"));
    EXPECT_EQ(tabs.currentIndex(), 1);
    widget.setFrameSettings(withIris("19"));
    EXPECT_EQ(tabs.currentIndex(), 1);
}

TEST_F(SettingsView, theSameSettingsAgainReplaceTheModel) {
    widget.setCameraSettings(withIris("17"));
    const QPointer<QAbstractItemModel> earlier = camera.model();
    ASSERT_TRUE(earlier);
    widget.setCameraSettings(withIris("17"));
    EXPECT_TRUE(earlier.isNull());
    const QAbstractItemModelTester tester(camera.model(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    EXPECT_EQ(camera.model()->rowCount(), 7);
    EXPECT_EQ(visibleRows(camera).size(), 16U);
}

TEST_F(SettingsView, expandsAllRowsAndFitsTheNames) {
    showAndActivate(widget);
    for (QTreeView* tree : {&camera, &frame}) {
        widget.setCameraSettings({});
        if (tree == &frame)
            widget.setFrameSettings({});
        tree->setColumnWidth(0, 20);
        tree->collapseAll();
        if (tree == &camera)
            widget.setCameraSettings({});
        else
            widget.setFrameSettings({});
        const auto rows = visibleRows(*tree);
        ASSERT_EQ(rows.size(), 16U);
        int widest = 0;
        for (const QModelIndex& row : rows) {
            const int needed = tree->fontMetrics().horizontalAdvance(row.data().toString());
            EXPECT_GE(tree->visualRect(row).width(), needed) << row.data().toString().toStdString();
            widest = std::max(widest, tree->visualRect(row).left() + needed);
        }
        EXPECT_LT(tree->columnWidth(0), widest + 20) << "no wider than needed";
    }
}

TEST_F(SettingsView, fitsIntoANarrowDock) {
    Vorta::Settings settings;
    settings.set("ExposureTime", "200000");
    widget.setCameraSettings(settings);
    widget.resize(widget.sizeHint());
    showAndActivate(widget);
    EXPECT_GE(camera.visualRect(camera.model()->index(2, 1)).width(),
              camera.fontMetrics().horizontalAdvance(QStringLiteral("200000")));
    EXPECT_FALSE(camera.horizontalScrollBar()->isVisible());
    EXPECT_EQ(camera.header()->length(), camera.viewport()->width()) << "the values have the rest";
    // The tabs never shrink to scroll buttons.
    widget.resize(widget.minimumSizeHint());
    EXPECT_GE(tabs.tabBar()->width(), tabs.tabBar()->sizeHint().width());
}

TEST_F(SettingsView, aLongValueCanBeScrolledTo) {
    const QString text = QStringLiteral("0.30000000000000004");
    Vorta::Settings settings;
    settings.set("RedBalance", "0.30000000000000004");
    showAndActivate(widget);
    widget.resize(260, 420);
    widget.setFrameSettings(settings);
    const auto isWhole = [&] {
        return frame.visualRect(frame.model()->index(1, 1)).width() > frame.fontMetrics().horizontalAdvance(text);
    };
    EXPECT_TRUE(isWhole());
    EXPECT_TRUE(waitFor([&] { return frame.horizontalScrollBar()->isVisible(); }));
    widget.resize(500, 420);
    EXPECT_TRUE(waitFor([&] { return !frame.horizontalScrollBar()->isVisible(); }));
    EXPECT_TRUE(isWhole());
    EXPECT_EQ(frame.header()->length(), frame.viewport()->width());
    widget.resize(260, 420);
    EXPECT_TRUE(waitFor([&] { return frame.horizontalScrollBar()->isVisible(); }));
    EXPECT_TRUE(isWhole());
}

TEST_F(SettingsView, keepsTheUsersPlaceFromFrameToFrame) {
    widget.resize(300, 250);
    showAndActivate(widget);
    widget.setFrameSettings(withIris("18"));
    const QModelIndex outlier = frame.model()->index(1, 0, frame.model()->index(6, 0));
    frame.setFocus();
    frame.setCurrentIndex(frame.model()->index(1, 0, outlier));
    frame.verticalScrollBar()->setValue(frame.verticalScrollBar()->maximum() - 1);
    const int top = frame.verticalScrollBar()->value();
    ASSERT_GT(top, 0);
    widget.setFrameSettings(withIris("19"));
    EXPECT_EQ(frame.currentIndex().data().toString(), QStringLiteral("Threshold"));
    EXPECT_EQ(frame.currentIndex().parent().data().toString(), QStringLiteral("Outlier"));
    EXPECT_EQ(frame.verticalScrollBar()->value(), top);
    EXPECT_TRUE(frame.hasFocus());
}

TEST_F(SettingsView, keepsWhatIsInSightWithoutACurrentRow) {
    widget.resize(widget.minimumSizeHint());
    showAndActivate(widget);
    Vorta::Settings settings;
    settings.set("RedBalance", "0.30000000000000004");
    widget.setFrameSettings(settings);
    ASSERT_TRUE(waitFor([&] { return frame.horizontalScrollBar()->maximum() > 20; }));
    ASSERT_GT(frame.verticalScrollBar()->maximum(), 3);
    frame.horizontalScrollBar()->setValue(20);
    frame.verticalScrollBar()->setValue(3);
    widget.setFrameSettings(settings);
    EXPECT_EQ(frame.horizontalScrollBar()->value(), 20);
    EXPECT_EQ(frame.verticalScrollBar()->value(), 3);
}

TEST_F(SettingsView, leavesTheFocusWhereItIs) {
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    QPushButton elsewhere;
    layout->addWidget(&elsewhere);
    layout->addWidget(&widget);
    showAndActivate(window);
    elsewhere.setFocus();
    widget.setCameraSettings({});
    widget.setFrameSettings({});
    EXPECT_TRUE(elsewhere.hasFocus());
    layout->removeWidget(&widget);
    widget.setParent(nullptr);
    elsewhere.setParent(nullptr);
}

TEST_F(SettingsView, nothingCanBeEdited) {
    widget.setCameraSettings(withIris("17"));
    showAndActivate(widget);
    const QModelIndex iris = camera.model()->index(3, 1);
    QTest::mouseDClick(camera.viewport(), Qt::LeftButton, Qt::NoModifier, camera.visualRect(iris).center());
    camera.setCurrentIndex(iris);
    QTest::keyClick(&camera, Qt::Key_F2);
    QTest::keyClicks(&camera, QStringLiteral("5"));
    EXPECT_EQ(camera.viewport()->findChildren<QWidget*>().size(), 0) << "an editor";
    EXPECT_EQ(shownIris(camera), QStringLiteral("17"));
}

TEST_F(SettingsView, theButtonStaysDisabled) {
    showAndActivate(widget);
    EXPECT_FALSE(apply.isEnabled());
    widget.setCameraSettings(withIris("17"));
    EXPECT_FALSE(apply.isEnabled());
    widget.setFrameSettings(withIris("18"));
    EXPECT_FALSE(apply.isEnabled());
    QTest::mouseClick(&apply, Qt::LeftButton);
    QTest::keyClick(&widget, Qt::Key_A, Qt::AltModifier);
    EXPECT_TRUE(applied.empty());
}

TEST_F(SettingsView, aClickOnTheButtonSendsTheSettingsOfTheFrame) {
    ASSERT_TRUE(QMetaObject::invokeMethod(&apply, "clicked", Q_ARG(bool, false)));
    ASSERT_EQ(applied.size(), 1U);
    EXPECT_EQ(applied[0], Vorta::Settings{}) << "without a frame, the defaults";

    Vorta::Settings settings = withIris("18");
    settings.set("Camera/Gain", "3");
    widget.setFrameSettings(settings);
    widget.setCameraSettings(withIris("17"));
    ASSERT_TRUE(QMetaObject::invokeMethod(&apply, "clicked", Q_ARG(bool, false)));
    ASSERT_EQ(applied.size(), 2U);
    EXPECT_EQ(applied[1], settings);
}

TEST_F(SettingsView, worksByKeysAlone) {
    widget.setCameraSettings({});
    widget.setFrameSettings({});
    showAndActivate(widget);
    QTest::keyClick(&widget, Qt::Key_C, Qt::AltModifier);
    EXPECT_EQ(tabs.currentIndex(), 0);
    QTest::keyClick(&widget, Qt::Key_F, Qt::AltModifier);
    EXPECT_EQ(tabs.currentIndex(), 1);
    tabs.tabBar()->setFocus();
    QTest::keyClick(tabs.tabBar(), Qt::Key_Left);
    EXPECT_EQ(tabs.currentIndex(), 0);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    ASSERT_EQ(QApplication::focusWidget(), &camera);
    QTest::keyClick(&camera, Qt::Key_Down); // from the first row
    EXPECT_EQ(camera.currentIndex().data().toString(), QStringLiteral("RedBalance"));
    QTest::keyClick(&camera, Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), tabs.tabBar()) << "the button is disabled";
}

TEST_F(SettingsView, toolTipsSayWhatTheSettingsAre) {
    widget.setCameraSettings(withIris("17"));
    showAndActivate(widget);
    const QModelIndex iris = camera.model()->index(3, 0);
    const QString text = settingToolTip(QStringLiteral("Iris"), QStringLiteral("17"));
    EXPECT_EQ(toolTipAt(camera, iris), text);
    EXPECT_TRUE(text.contains(QStringLiteral("from 1 to 63 steps")));
    EXPECT_EQ(toolTipAt(camera, iris.siblingAtColumn(1)), text);
    const QModelIndex filters = camera.model()->index(6, 0);
    EXPECT_EQ(toolTipAt(camera, filters), settingToolTip(QStringLiteral("Filters")));
    const QModelIndex threshold = camera.model()->index(0, 0, camera.model()->index(0, 0, filters));
    EXPECT_EQ(toolTipAt(camera, threshold),
              settingToolTip(QStringLiteral("Filters/Contrast/Threshold"), QStringLiteral("5")));
    QToolTip::hideText();
}

} // namespace
