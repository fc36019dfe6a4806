// Where the window, its docks and its toolbar stand: at first, at the next start, and as the view menu moves them.
#include "studio/mainwindow/windowfixture.h"

#include <QDockWidget>
#include <QToolBar>

#include <utility>

namespace {

using Vorta::Testing::waitFor;
using Vorta::Testing::Window;
using Vorta::Testing::World;

class Layout : public Window {
protected:
    QWidget& part(const char* name) { return Vorta::Testing::find<QWidget>(window_, QLatin1String(name)); }
    QDockWidget& dock(const char* name) { return Vorta::Testing::find<QDockWidget>(window_, QLatin1String(name)); }

    void expectDefaultLayout() {
        EXPECT_TRUE(waitFor([this] { return window_.isMaximized(); }));
        EXPECT_FALSE(window_.isFullScreen());
        for (const char* name : {"camDockWidget", "depthDockWidget", "logDockWidget_", "ToolBar"})
            EXPECT_TRUE(part(name).isVisible()) << name;
        EXPECT_FALSE(part("SettingsDockWidget").isVisible());
        EXPECT_EQ(window_.dockWidgetArea(&dock("depthDockWidget")), Qt::RightDockWidgetArea);
    }

    /// As a person makes the window smaller.
    void makeSmall() {
        window_.showNormal();
        ASSERT_TRUE(waitFor([this] { return !window_.isMaximized(); }));
        window_.resize(smallSize);
        ASSERT_TRUE(waitFor([this] { return window_.size() == smallSize; }));
    }

    static constexpr QSize smallSize{1200, 800};
};

TEST_F(Layout, FirstStartFillsTheScreenWithTheDefault) {
    show();
    expectDefaultLayout();
}

TEST_F(Layout, ResetMakesItTheDefaultAgain) {
    show();
    window_.addDockWidget(Qt::LeftDockWidgetArea, &dock("depthDockWidget"));
    for (const char* name : {"actionCameraImage", "actionLogWindow", "actionSettings", "actionToolbar"})
        action(name).trigger();
    makeSmall();
    action("actionResetLayout").trigger();
    expectDefaultLayout();
    for (const char* name : {"actionCameraImage", "actionLogWindow", "actionToolbar"})
        EXPECT_TRUE(action(name).isChecked()) << name;
    EXPECT_FALSE(action("actionSettings").isChecked());
}

TEST_F(Layout, ViewMenuHidesAndShowsEachPart) {
    show();
    for (const auto& [name, partName] :
         {std::pair{"actionCameraImage", "camDockWidget"}, std::pair{"actionDepthImage", "depthDockWidget"},
          std::pair{"actionLogWindow", "logDockWidget_"}, std::pair{"actionSettings", "SettingsDockWidget"},
          std::pair{"actionToolbar", "ToolBar"}}) {
        QWidget& widget = part(partName);
        const bool visible = widget.isVisible();
        EXPECT_EQ(action(name).isChecked(), visible) << name;
        action(name).trigger();
        EXPECT_EQ(widget.isVisible(), !visible) << name;
        widget.setVisible(visible);
        EXPECT_EQ(action(name).isChecked(), visible) << name << " follows what it shows";
    }
}

TEST_F(Layout, ClosingKeepsItForTheNextStart) {
    show();
    action("actionLogWindow").trigger();
    makeSmall();
    window_.close();
    MainWindow next(controller_);
    next.show();
    EXPECT_TRUE(waitFor([&] { return next.isVisible() && next.size() == smallSize; }));
    EXPECT_FALSE(next.isMaximized());
    EXPECT_FALSE(Vorta::Testing::find<QDockWidget>(next, QStringLiteral("logDockWidget_")).isVisible());
}

TEST_F(Layout, ResetIsTheSameAtLaterStarts) {
    show();
    const int first = dock("camDockWidget").width();
    window_.resizeDocks({&dock("camDockWidget")}, {first - 150}, Qt::Horizontal);
    ASSERT_TRUE(waitFor([&] { return dock("camDockWidget").width() < first; }));
    window_.close();
    MainWindow next(controller_);
    next.show();
    auto& camera = Vorta::Testing::find<QDockWidget>(next, QStringLiteral("camDockWidget"));
    ASSERT_TRUE(waitFor([&] { return next.isVisible() && camera.width() < first; }));
    Vorta::Testing::find<QAction>(next, QStringLiteral("actionResetLayout")).trigger();
    EXPECT_TRUE(waitFor([&] { return next.isMaximized() && camera.width() == first; })) << camera.width();
}

TEST_F(Layout, HalfOfOneIsNotRestored) {
    show();
    makeSmall();
    window_.close();
    World::instance().preferences.remove(QStringLiteral("GUI/State"));
    MainWindow next(controller_);
    next.show();
    EXPECT_TRUE(waitFor([&] { return next.isMaximized(); }));
}

} // namespace
