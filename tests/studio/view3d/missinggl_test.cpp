#include "input.h"
#include "scene.h"
#include "support/imagecompare.h"

#include <QLabel>
#include <gtest/gtest.h>

namespace {

using namespace Vorta::Testing;

/// Makes Mesa offer no more than OpenGL 2.1, before anything asks it.
const bool restricted = qputenv("MESA_GL_VERSION_OVERRIDE", "2.1");

TEST(MissingGl, IsSaidInWords) {
    ASSERT_TRUE(restricted);
    Scene scene;
    EXPECT_FALSE(scene.view().initialise());
    auto* notice = scene.view().findChild<QLabel*>(QStringLiteral("noticeLabel"));
    ASSERT_NE(notice, nullptr);
    EXPECT_TRUE(notice->isVisible());
    EXPECT_EQ(notice->geometry(), scene.view().rect());
    EXPECT_TRUE(notice->text().startsWith(QStringLiteral("The 3D view cannot be shown.\n\n")));
    EXPECT_TRUE(notice->text().contains(QStringLiteral("OpenGL"))) << notice->text().toStdString();
    // Letters on the screen, not only in the label.
    EXPECT_TRUE(waitFor([&] { return countColours(scene.screen()) > 8; }));
    scene.window().setFixedSize(400, 300);
    EXPECT_TRUE(waitFor([&] { return notice->geometry() == QRect(0, 0, 400, 300); }));
}

TEST(MissingGl, EverythingElseWorks) {
    Scene scene;
    auto& view = scene.view();
    EXPECT_FALSE(view.initialise());
    EXPECT_FALSE(view.initialise());
    EXPECT_EQ(view.findChildren<QLabel*>().size(), 1);
    EXPECT_EQ(view.computeDevice(), Vorta::ComputeDevice());
    view.loadPoints(makeFlag(), true);
    view.setDeviceCloud(Vorta::DeviceCloud(view.computeDevice(), makeFlag()));
    view.setupInitialCloud();
    view.enableMeshing(true);
    view.enableColors(false);
    view.setBackgroundColor(Qt::blue);
    EXPECT_EQ(view.backgroundColor(), QColor(Qt::blue));
    EXPECT_FALSE(view.render());
    drag(view, Qt::LeftButton, {300, 200}, {400, 200});
    EXPECT_TRUE(pressKey(view, Qt::Key_Escape));
}

} // namespace
