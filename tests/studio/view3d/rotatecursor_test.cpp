#include "input.h"
#include "scene.h"

#include <gtest/gtest.h>

namespace {

using namespace Vorta::Testing;

TEST(RotateCursor, StaysWhileTheLeftButtonLeads) {
    Scene scene;
    auto& view = scene.view();
    press(view, {100, 100}, Qt::LeftButton, Qt::LeftButton);
    ASSERT_EQ(view.cursor().shape(), Qt::BitmapCursor);
    const QPixmap pixmap = view.cursor().pixmap();
    EXPECT_FALSE(pixmap.isNull());
    EXPECT_EQ(view.cursor().hotSpot(), QPoint(pixmap.width() / 2, pixmap.height() / 2));
    press(view, {100, 100}, Qt::RightButton, Qt::LeftButton | Qt::RightButton);
    EXPECT_EQ(view.cursor().shape(), Qt::BitmapCursor);
    release(view, {100, 100}, Qt::LeftButton, Qt::RightButton);
    EXPECT_EQ(view.cursor().shape(), Qt::BitmapCursor);
    release(view, {100, 100}, Qt::RightButton, Qt::NoButton);
    EXPECT_EQ(view.cursor().shape(), Qt::ArrowCursor);
}

} // namespace
