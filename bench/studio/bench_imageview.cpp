// The image views on 1944 x 1200 pixels: colouring depths beside OpenCV's colour map, whose table has 256 colours, and
// making and applying masks.
#include "imageview/colormap.h"
#include "imageview/imageconversion.h"
#include "imageview/imagelabel.h"
#include "imageview/imageselection.h"
#include "imageview/maskimages.h"
#include "ratio.h"

#include <QApplication>

#include <cmath>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace {

constexpr int width = 1944;
constexpr int height = 1200;

/// A wavy surface; one pixel in 50 has no depth.
cv::Mat_<float> makeDepths() {
    cv::Mat_<float> depths(height, width);
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column)
            depths(row, column) = (row * 7919 + column * 104729) % 50 == 0
                                      ? std::nanf("")
                                      : 650.0F + 240.0F * std::sin(0.004F * static_cast<float>(column)) *
                                                     std::cos(0.005F * static_cast<float>(row));
    return depths;
}

} // namespace

int main(int argc, char** argv) {
    const cv::Mat_<float> depths = makeDepths();
    ColorMap map;
    map.setRange(400.0F, 900.0F);
    QImage coloured(width, height, QImage::Format_RGB888);
    cv::Mat levels;
    cv::Mat reference;
    cv::setNumThreads(1);
    VortaBench::compare(
        "colouring depths / convertTo + applyColorMap",
        [&] {
            for (int row = 0; row < height; ++row)
                map.colourRow(std::span(depths.ptr<float>(row), std::size_t{width}), coloured.scanLine(row));
        },
        [&] {
            depths.convertTo(levels, CV_8U, 255.0 / 500.0, -400.0 * 255.0 / 500.0);
            cv::applyColorMap(levels, reference, cv::COLORMAP_JET);
        },
        1.0)
        ->Iterations(30);

    cv::Mat_<uchar> mask(height, width, uchar{0});
    mask.colRange(500, 900).setTo(5);
    benchmark::RegisterBenchmark("mask's picture", [&](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(MaskImages::classes(mask));
        state.counters["time_at_most"] = 10;
    })->Unit(benchmark::kMillisecond);
    ImageSelection selection;
    selection.choose(ImageSelection::Mode::Polygon);
    for (int corner = 0; corner < 40; ++corner)
        selection.press({width / 2 + static_cast<int>(900 * std::cos(0.157 * corner)),
                         height / 2 + static_cast<int>(550 * std::sin(0.157 * corner))});
    benchmark::RegisterBenchmark("polygon as a mask, merged", [&](benchmark::State& state) {
        for (auto _ : state) {
            const cv::Mat_<uchar> selected = selection.mask({width, height}, false);
            cv::Mat_<uchar> merged = mask.clone();
            selected.copyTo(merged, selected);
            benchmark::DoNotOptimize(merged.data);
        }
        state.counters["time_at_most"] = 10;
    })->Unit(benchmark::kMillisecond);
    // As while the dock is resized: each event has another size, and all is scaled anew.
    const QApplication application(argc, argv);
    QWidget window;
    window.resize(900, 700);
    auto* label = new ImageLabel(&window);
    label->setImage(QImage(coloured));
    label->setMask(mask);
    label->showMask(true);
    label->showSaturated(true);
    window.show();
    QCoreApplication::processEvents();
    int step = 0;
    benchmark::RegisterBenchmark("resized picture and overlays",
                                 [&](benchmark::State& state) {
                                     for (auto _ : state) {
                                         ++step;
                                         label->resize(640 + step % 200, 480 + step % 100);
                                         label->repaint();
                                         QCoreApplication::processEvents();
                                     }
                                     state.counters["time_at_most"] = 16;
                                 })
        ->Unit(benchmark::kMillisecond)
        ->Iterations(100);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
