#include "graycodeloop.h"

#include <opencv2/structured_light/graycodepattern.hpp>

using namespace Vorta;

struct GrayCodeLoop::State {
    cv::Ptr<cv::structured_light::GrayCodePattern> code;
    std::vector<cv::Mat> images;
};

GrayCodeLoop::GrayCodeLoop(std::size_t width, std::size_t height) : state_(std::make_unique<State>()) {
    state_->code = cv::structured_light::GrayCodePattern::create(static_cast<int>(width), static_cast<int>(height));
}

GrayCodeLoop::~GrayCodeLoop() = default;

std::vector<Driver::Pattern> GrayCodeLoop::patterns() const {
    std::vector<cv::Mat> images;
    state_->code->generate(images);
    std::vector<Driver::Pattern> patterns;
    for (const cv::Mat& image : images) {
        // The rows' images are the ones that do not change along a row.
        const bool isRows = cv::countNonZero(image.row(0) != image.at<std::uint8_t>(0, 0)) == 0;
        Driver::Pattern pattern{.axis = isRows ? Driver::Axis::Rows : Driver::Axis::Columns, .levels = {}};
        const cv::Mat line = isRows ? cv::Mat(image.col(0).t()) : cv::Mat(image.row(0));
        for (int i = 0; i < line.cols; ++i)
            pattern.levels.push_back(line.at<std::uint8_t>(0, i) > 0 ? 1.0F : 0.0F);
        patterns.push_back(std::move(pattern));
    }
    return patterns;
}

void GrayCodeLoop::setImages(const Driver::ImageStack& images) {
    state_->images.clear();
    for (std::size_t image = 0; image < images.count(); ++image) {
        // Only read from.
        auto* const pixels = const_cast<std::uint8_t*>(images.image(image).data());
        state_->images.emplace_back(static_cast<int>(images.height()), static_cast<int>(images.width()), CV_8UC1,
                                    pixels);
    }
    columns_.assign(images.height() * images.width(), -1);
    rows_ = columns_;
}

void GrayCodeLoop::decode() {
    const cv::Mat& first = state_->images.front();
    std::size_t pixel = 0;
    for (int y = 0; y < first.rows; ++y) {
        for (int x = 0; x < first.cols; ++x, ++pixel) {
            cv::Point found;
            const bool isError = state_->code->getProjPixel(state_->images, x, y, found);
            columns_[pixel] = isError ? -1 : found.x;
            rows_[pixel] = isError ? -1 : found.y;
        }
    }
}
