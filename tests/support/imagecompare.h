// Compares what was drawn with what should have been, and keeps the evidence when they differ.
#pragma once

#include <QImage>
#include <QString>
#include <gtest/gtest.h>

namespace Vorta::Testing {

/// How far two images may differ and still count as the same.
struct ImageTolerance {
    int channel = 0;       ///< largest difference of a red, green, blue or alpha value that is no difference, 0 to 255
    double fraction = 0.0; ///< largest fraction of the pixels that may differ by more than `channel`, 0 to 1
};

/// Success when `actual` equals `expected` within `tolerance`. Otherwise the failure says how many pixels differ, by
/// how much and where first, and <name>-actual.png, -expected.png and -difference.png (absolute differences, stretched
/// to full contrast) are saved in the folder that it names: $VORTA_TEST_IMAGES, or test-images in the build folder.
///
///     EXPECT_TRUE(sameImage(view.grab().toImage(), legend, "legend", {.channel = 2}));
testing::AssertionResult sameImage(const QImage& actual, const QImage& expected, const QString& name,
                                   ImageTolerance tolerance = {});

/// The number of differently coloured pixels in `image`, counting stops at `limit`: 1 for a blank image.
int countColours(const QImage& image, int limit = 4096);

} // namespace Vorta::Testing
