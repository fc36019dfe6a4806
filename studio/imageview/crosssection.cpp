#include "imageview/crosssection.h"

#include "vorta/common/exceptions.h"

#include <cmath>
#include <limits>
#include <opencv2/core.hpp>

namespace {

double valueAt(const cv::Mat& image, int row, int column) {
    switch (image.type()) {
    case CV_32FC1:
        return static_cast<double>(image.at<float>(row, column));
    case CV_8UC1:
        return image.at<uchar>(row, column);
    default: {
        const auto& pixel = image.at<cv::Vec3b>(row, column);
        return (pixel[0] + pixel[1] + pixel[2]) / 3.0;
    }
    }
}

double sampleAt(const cv::Mat& image, const cv::Mat_<uchar>& mask, float x, float y) {
    const auto row = static_cast<int>(std::lround(y));
    const auto column = static_cast<int>(std::lround(x));
    const bool inside = row >= 0 && column >= 0 && row < image.rows && column < image.cols;
    const bool masked = inside && row < mask.rows && column < mask.cols && mask(row, column) != 0;
    return inside && !masked ? valueAt(image, row, column) : std::numeric_limits<double>::quiet_NaN();
}

} // namespace

QVector<QPointF> crossSection(const cv::Mat& image, const cv::Mat_<uchar>& mask, const QLine& line) {
    if (image.type() != CV_8UC1 && image.type() != CV_32FC1 && image.type() != CV_8UC3)
        throw Vorta::ArgumentInvalidException("Could not update cross section. Unsupported image type.", "m_mat",
                                              cv::typeToString(image.type()));
    const auto dx = static_cast<float>(line.dx());
    const auto dy = static_cast<float>(line.dy());
    auto x = static_cast<float>(line.x1());
    auto y = static_cast<float>(line.y1());
    QVector<QPointF> samples;
    const auto take = [&](float abscissa) {
        const double value = sampleAt(image, mask, x, y);
        if (!std::isnan(value))
            samples.append({static_cast<double>(abscissa), value});
    };
    if (dx > dy) {
        const float slope = dy / dx;
        for (int column = line.x1(); column <= line.x2(); ++column, y += slope) {
            x = static_cast<float>(column);
            take(x);
        }
    } else {
        const float slope = dx / dy;
        for (int row = line.y1(); row <= line.y2(); ++row, x += slope) {
            y = static_cast<float>(row);
            take(y);
        }
    }
    return samples;
}
