// What the window's commands, captures and files do to the 3D view.
#include "studio/mainwindow/windowfixture.h"
#include "studio/view3d/input.h"

#include <QColorDialog>

namespace {

using Vorta::Testing::ModalDriver;
using Vorta::Testing::waitFor;
using Vorta::Testing::Window;

class ViewCommands : public Window {
protected:
    QWidget& view() { return *window_.centralWidget(); }
    QImage picture() { return Vorta::Testing::grabFromScreen(view()); }

    bool showsTheCloud() {
        return waitFor([this] { return !viewIsPlain(window_); });
    }

    /// As a person pulls the cloud out of sight.
    void pullAway() {
        const QPointF left(5, view().height() / 2.0);
        const QPointF right(view().width() - 5, view().height() / 2.0);
        for (int pull = 0; pull < 3; ++pull)
            Vorta::Testing::drag(view(), Qt::RightButton, left, right);
        ASSERT_TRUE(waitFor([this] { return viewIsPlain(window_); }));
    }
};

TEST_F(ViewCommands, OnlyTheFirstCaptureGoesBackToTheInitialView) {
    show();
    ASSERT_TRUE(showsTheCloud()) << "the grid of the start";
    pullAway();
    grab();
    ASSERT_TRUE(showsTheCloud());
    pullAway();
    grab();
    EXPECT_FALSE(waitFor([this] { return !viewIsPlain(window_); }, 300)) << "the user's view stays";
}

TEST_F(ViewCommands, ResetAndAnOpenedFileGoBackToTheInitialView) {
    show();
    grab();
    controller_.saveDataFile(path("a.vdf"));
    pullAway();
    action("actionResetView").trigger();
    EXPECT_TRUE(showsTheCloud());
    pullAway();
    window_.openFile(path("a.vdf"));
    EXPECT_TRUE(showsTheCloud());
}

TEST_F(ViewCommands, ColorsAndMeshAreSwitchedByTheirButtons) {
    show();
    grab();
    ASSERT_TRUE(showsTheCloud());
    const QImage before = picture();
    for (const char* name : {"actionDisplayRGB", "actionToggleMesh"}) {
        action(name).trigger();
        EXPECT_TRUE(waitFor([&] { return picture() != before; })) << name;
        action(name).trigger();
        EXPECT_TRUE(waitFor([&] { return picture() == before; })) << name;
    }
}

TEST_F(ViewCommands, BackgroundIsTheColourThatIsChosen) {
    show();
    const auto background = [this] { return picture().pixelColor(0, 0); };
    ModalDriver boxes;
    QColor offered;
    boxes.then([&](QWidget& box) {
        auto& dialog = dynamic_cast<QColorDialog&>(box);
        offered = dialog.currentColor();
        dialog.setCurrentColor(Qt::darkGreen);
        dialog.accept();
    });
    const QColor before = background();
    action("actionBackgroundColor").trigger();
    EXPECT_EQ(offered.rgb(), before.rgb()) << "the dialog starts with the present one";
    EXPECT_TRUE(waitFor([&] { return background() == QColor(Qt::darkGreen); }));

    boxes.then([&](QWidget& box) {
        auto& dialog = dynamic_cast<QColorDialog&>(box);
        offered = dialog.currentColor();
        dialog.setCurrentColor(Qt::red);
        dialog.reject();
    });
    action("actionBackgroundColor").trigger();
    EXPECT_EQ(offered, QColor(Qt::darkGreen));
    QCoreApplication::processEvents();
    EXPECT_EQ(background(), QColor(Qt::darkGreen)) << "cancelled";
}

} // namespace
