#include "imageview/imageconversion.h"

#include "imageview/colormap.h"
#include "vorta/common/exceptions.h"

#include <QCoreApplication>

#include <array>
#include <opencv2/core.hpp>
#include <span>

namespace ImageConversion {

QImage displayImage(const cv::Mat& mat) {
    QImage::Format format = QImage::Format_Invalid;
    switch (mat.type()) {
    case CV_8UC1:
        // Without a colour table the index itself is the grey level.
        format = QImage::Format_Indexed8;
        break;
    case CV_8UC3:
        format = QImage::Format_RGB888;
        break;
    default:
        throw Vorta::ArgumentInvalidException("Image format not recognized.", "mat", cv::typeToString(mat.type()));
    }
    // Swapping blue and red also copies the pixels, which the matrix only lends.
    return QImage(mat.data, mat.cols, mat.rows, static_cast<int>(mat.step[0]), format).rgbSwapped();
}

QImage depthImage(const cv::Mat_<float>& depths, const ColorMap& map) {
    QImage image(depths.cols, depths.rows, QImage::Format_RGB888);
    for (int row = 0; row < depths.rows; ++row)
        map.colourRow(std::span(depths.ptr<float>(row), static_cast<std::size_t>(depths.cols)), image.scanLine(row));
    return image;
}

QString pixelText(const cv::Mat& mat, int x, int y) {
    switch (mat.type()) {
    case CV_8UC1:
        return QStringLiteral("I: %1").arg(mat.at<uchar>(y, x));
    case CV_32FC1:
        return QStringLiteral("Z:") + QString::number(static_cast<double>(mat.at<float>(y, x)));
    case CV_64FC1:
        return QStringLiteral("Z:") + QString::number(mat.at<double>(y, x), 'g', 6);
    case CV_8UC3: {
        const auto& pixel = mat.at<cv::Vec3b>(y, x);
        return QStringLiteral("R:%1 G:%2 B:%3").arg(pixel[2]).arg(pixel[1]).arg(pixel[0]);
    }
    default:
        return QCoreApplication::translate("ImageViewer", "Unknown data type");
    }
}

QString maskClassText(uchar code) {
    static constexpr std::array<const char*, 6> texts{
        "",
        QT_TRANSLATE_NOOP("ImageViewer", "Low contrast"),
        QT_TRANSLATE_NOOP("ImageViewer", "Saturated"),
        QT_TRANSLATE_NOOP("ImageViewer", "Out of range"),
        QT_TRANSLATE_NOOP("ImageViewer", "Disconnected"),
        QT_TRANSLATE_NOOP("ImageViewer", "Irrelevant"),
    };
    return code == 0 || code >= texts.size() ? QString() : QCoreApplication::translate("ImageViewer", texts[code]);
}

} // namespace ImageConversion
