#include "resources/applicationicon.h"
#include "support/imagecompare.h"

#include <QApplication>
#include <QColor>
#include <QCursor>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QPixmap>
#include <QRegularExpression>
#include <QStringList>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <iterator>
#include <map>

namespace {

const QString prefix = QStringLiteral(":/icons/");

/// The names that windows, dialogs and menus are built with, and the size in pixels at which they show them.
const std::map<QString, QSize>& expectedIcons() {
    static const auto icons = [] {
        std::map<QString, QSize> all;
        for (const char* name :
             {"HDR", "Video", "backgroundColor", "blue-document-clock", "camera", "capture", "disk", "folder", "mesh",
              "openConfig", "preferences", "question-frame", "resetview", "rgb", "rotate", "saveConfig", "stop"})
            all[QLatin1String(name)] = QSize(32, 32);
        for (const char* name :
             {"chart", "checkmark", "cross-script", "images-flickr", "invert", "layer-shape", "layer-shape-line",
              "layer-shape-polygon", "magnifier-zoom-in", "magnifier-zoom-out", "maskSaturated"})
            all[QLatin1String(name)] = QSize(24, 24);
        all[QStringLiteral("camera_green")] = all[QStringLiteral("camera_red")] = QSize(24, 20);
        all[QStringLiteral("VortaLogo")] = QSize(160, 44);
        all[QStringLiteral("VortaStudio")] = QSize(64, 64);
        return all;
    }();
    return icons;
}

QImage load(const QString& file) {
    return QImage(prefix + file).convertToFormat(QImage::Format_ARGB32);
}

/// Relative luminance and contrast ratio of the Web Content Accessibility Guidelines 2.1.
double luminance(const QColor& colour) {
    const auto linear = [](double c) { return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

double contrast(const QColor& a, const QColor& b) {
    const auto [dark, light] = std::minmax({luminance(a), luminance(b)});
    return (light + 0.05) / (dark + 0.05);
}

/// The fraction of all pixels that are opaque and stand out from the background at least 3 : 1, what the guidelines
/// ask of graphical objects.
double visibleFraction(const QImage& image, const QColor& background) {
    int visible = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            visible += colour.alpha() > 250 && contrast(colour, background) >= 3.0 ? 1 : 0;
        }
    return static_cast<double>(visible) / (image.width() * image.height());
}

TEST(Icons, ExistAtTheirSizeAndAtTwiceThat) {
    for (const auto& [name, size] : expectedIcons()) {
        EXPECT_EQ(load(name + QStringLiteral(".png")).size(), size) << qPrintable(name);
        EXPECT_EQ(load(name + QStringLiteral("@2x.png")).size(), 2 * size) << qPrintable(name);
    }
}

TEST(Icons, ArePackedForEveryNameInTheSources) {
    static const QRegularExpression literal(QStringLiteral("[\">](?::/icons/)?([A-Za-z0-9_-]+\\.png)[\"<]"));
    QStringList used;
    QDirIterator files(QStringLiteral(VORTA_SOURCE_DIR "/studio"),
                       {QStringLiteral("*.cpp"), QStringLiteral("*.h"), QStringLiteral("*.ui")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(file.fileName());
        auto matches = literal.globalMatch(QString::fromUtf8(file.readAll()));
        while (matches.hasNext()) {
            const QString name = matches.next().captured(1);
            used << name;
            EXPECT_TRUE(QFile::exists(prefix + name)) << qPrintable(name) << " in " << qPrintable(file.fileName());
        }
    }
    EXPECT_FALSE(used.isEmpty());
}

TEST(Icons, ArePackedWithoutStrays) {
    static const QRegularExpression variant(QStringLiteral("(@2x|-\\d+)$"));
    for (QString file : QDir(prefix).entryList(QDir::Files)) {
        ASSERT_TRUE(file.endsWith(QStringLiteral(".png"))) << qPrintable(file);
        file.chop(4);
        EXPECT_EQ(expectedIcons().count(file.remove(variant)), 1U) << qPrintable(file);
    }
}

TEST(Icons, StandOutFromLightAndFromDarkWindows) {
    for (const auto& [name, size] : expectedIcons()) {
        for (const QString& suffix : {QStringLiteral(".png"), QStringLiteral("@2x.png")}) {
            const QImage image = load(name + suffix);
            EXPECT_GE(visibleFraction(image, QColor(255, 255, 255)), 0.04) << qPrintable(name + suffix);
            EXPECT_GE(visibleFraction(image, QColor(45, 45, 45)), 0.04) << qPrintable(name + suffix);
        }
    }
}

TEST(Icons, LeaveTheirCornersToTheWindow) {
    for (const auto& [name, size] : expectedIcons()) {
        const QImage image = load(name + QStringLiteral(".png"));
        EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0) << qPrintable(name);
        EXPECT_EQ(qAlpha(image.pixel(image.width() - 1, 0)), 0) << qPrintable(name);
    }
}

TEST(Icons, DifferFromEachOther) {
    const auto& icons = expectedIcons();
    for (auto a = icons.begin(); a != icons.end(); ++a) {
        for (auto b = std::next(a); b != icons.end(); ++b) {
            const QImage one = load(a->first + QStringLiteral(".png"));
            const QImage other = load(b->first + QStringLiteral(".png"));
            EXPECT_TRUE(one != other) << qPrintable(a->first) << " is drawn like " << qPrintable(b->first);
        }
    }
}

TEST(Icons, TellTheCameraStateByColour) {
    const auto dominant = [](const QString& file) {
        const QImage image = load(file);
        long long red = 0;
        long long green = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const QRgb pixel = image.pixel(x, y);
                red += static_cast<long long>(qRed(pixel)) * qAlpha(pixel);
                green += static_cast<long long>(qGreen(pixel)) * qAlpha(pixel);
            }
        return red > green ? Qt::red : Qt::green;
    };
    EXPECT_EQ(dominant(QStringLiteral("camera_green.png")), Qt::green);
    EXPECT_EQ(dominant(QStringLiteral("camera_red.png")), Qt::red);
}

TEST(RotateCursor, TurnsAroundItsHotSpotInTheCentre) {
    const QCursor cursor(QPixmap(prefix + QStringLiteral("rotate.png")));
    EXPECT_EQ(cursor.hotSpot(), QPoint(16, 16));
    const QImage image = load(QStringLiteral("rotate.png"));
    EXPECT_LT(luminance(image.pixelColor(16, 16)), 0.05);
    EXPECT_GT(qAlpha(image.pixel(16, 16)), 250);
}

TEST(ApplicationIcon, IsDrawnForEverySize) {
    const QIcon icon = Vorta::applicationIcon();
    for (const int pixels : {16, 24, 32, 48, 64, 128, 256}) {
        const QImage image = icon.pixmap(pixels, pixels).toImage();
        EXPECT_EQ(image.size(), QSize(pixels, pixels));
        EXPECT_GT(Vorta::Testing::countColours(image), 16);
    }
}

} // namespace
