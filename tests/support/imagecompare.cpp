#include "support/imagecompare.h"

#include <QColor>
#include <QDir>
#include <QPoint>
#include <QSet>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace Vorta::Testing {

namespace {

struct Difference {
    QImage image;         ///< absolute difference per channel
    qint64 pixels = 0;    ///< that differ by more than the tolerance
    int largest = 0;      ///< largest difference of one channel
    QPoint first{-1, -1}; ///< the first differing pixel in reading order
};

Difference differenceOf(const QImage& actual, const QImage& expected, int channelTolerance) {
    Difference result;
    result.image = QImage(actual.size(), QImage::Format_RGB32);
    for (int y = 0; y < actual.height(); ++y) {
        for (int x = 0; x < actual.width(); ++x) {
            const QRgb a = actual.pixel(x, y);
            const QRgb b = expected.pixel(x, y);
            const std::array<int, 4> delta{std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                                           std::abs(qBlue(a) - qBlue(b)), std::abs(qAlpha(a) - qAlpha(b))};
            const int largest = *std::max_element(delta.begin(), delta.end());
            // A difference in opacity alone shows as grey.
            result.image.setPixel(
                x, y, qRgb(std::max(delta[0], delta[3]), std::max(delta[1], delta[3]), std::max(delta[2], delta[3])));
            result.largest = std::max(result.largest, largest);
            if (largest <= channelTolerance)
                continue;
            if (result.pixels++ == 0)
                result.first = QPoint(x, y);
        }
    }
    return result;
}

QImage stretched(QImage image, int largest) {
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb p = image.pixel(x, y);
            image.setPixel(x, y, qRgb(qRed(p) * 255 / largest, qGreen(p) * 255 / largest, qBlue(p) * 255 / largest));
        }
    }
    return image;
}

QString imageFolder() {
    const QString chosen = qEnvironmentVariable("VORTA_TEST_IMAGES");
    return chosen.isEmpty() ? QStringLiteral(VORTA_TEST_IMAGE_DIR) : chosen;
}

/// Saves the image in `folder` and tells `result` when that failed.
void save(const QImage& image, const QString& folder, const QString& name, testing::AssertionResult& result) {
    const QString path = folder + QLatin1Char('/') + name + QStringLiteral(".png");
    if (!QDir().mkpath(folder) || !image.save(path))
        result << "; could not save " << qPrintable(path);
}

} // namespace

testing::AssertionResult sameImage(const QImage& actual, const QImage& expected, const QString& name,
                                   ImageTolerance tolerance) {
    const QString folder = imageFolder();
    if (actual.size() != expected.size() || actual.isNull()) {
        auto result = testing::AssertionFailure()
                      << qPrintable(name) << " is " << actual.width() << " x " << actual.height() << " pixels, not "
                      << expected.width() << " x " << expected.height() << "; see " << qPrintable(folder);
        save(actual, folder, name + QStringLiteral("-actual"), result);
        save(expected, folder, name + QStringLiteral("-expected"), result);
        return result;
    }
    const Difference difference = differenceOf(actual, expected, tolerance.channel);
    const double all = static_cast<double>(actual.width()) * actual.height();
    if (static_cast<double>(difference.pixels) <= tolerance.fraction * all)
        return testing::AssertionSuccess();
    auto result = testing::AssertionFailure()
                  << qPrintable(name) << ": " << difference.pixels << " of " << std::lround(all)
                  << " pixels differ by more than " << tolerance.channel << ", at most by " << difference.largest
                  << ", the first at (" << difference.first.x() << ", " << difference.first.y() << "); see "
                  << qPrintable(folder);
    save(actual, folder, name + QStringLiteral("-actual"), result);
    save(expected, folder, name + QStringLiteral("-expected"), result);
    save(stretched(difference.image, difference.largest), folder, name + QStringLiteral("-difference"), result);
    return result;
}

int countColours(const QImage& image, int limit) {
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width() && colours.size() < limit; ++x)
            colours.insert(image.pixel(x, y));
    return colours.size();
}

} // namespace Vorta::Testing
