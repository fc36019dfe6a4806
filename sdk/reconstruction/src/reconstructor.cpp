#include "vorta/reconstruction/reconstructor.h"

#include "defect.h"
#include "kernels.h"
#include "patchfilter.h"
#include "triangulator.h"
#include "workerpool.h"

#include "vorta/common/exceptions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Vorta::Reconstruction {

namespace {

/// Rows that a thread takes at a time: few enough to share the work evenly, enough that the two mosaic rows which
/// neighbouring blocks both compute do not count.
constexpr std::size_t blockRows = 16;

/// The largest gain that the mosaic's fixed-point arithmetic holds.
constexpr double maxGain = 100.0;

/// Whether the top left pixel of the mosaic is green, and whether the first row's other colour is red.
struct Mosaic {
    bool greenFirst;
    bool redFirst;
};

Mosaic mosaicOf(Driver::BayerLayout layout) {
    switch (layout) {
    case Driver::BayerLayout::GRBG:
        return {.greenFirst = true, .redFirst = true};
    case Driver::BayerLayout::RGGB:
        return {.greenFirst = false, .redFirst = true};
    case Driver::BayerLayout::BGGR:
        return {.greenFirst = false, .redFirst = false};
    case Driver::BayerLayout::GBRG:
        return {.greenFirst = true, .redFirst = false};
    }
    throw ArgumentInvalidException("There is no such Bayer layout.", "bayerLayout");
}

void checkRange(double value, double minimum, double maximum, std::string_view name) {
    if (!(value >= minimum && value <= maximum))
        throw ArgumentOutOfRangeException("The value must lie between " + std::to_string(minimum) + " and " +
                                              std::to_string(maximum) + ".",
                                          name, std::to_string(value));
}

void check(const Parameters& parameters) {
    checkRange(parameters.minModulation, 0.0, 255.0, "minModulation");
    checkRange(parameters.minBitDifference, 1.0, 255.0, "minBitDifference");
    checkRange(parameters.outlierThresholdMm, 0.0, maxDepthMm, "outlierThresholdMm");
    checkRange(parameters.redBalance, 0.0, maxGain, "redBalance");
    checkRange(parameters.blueBalance, 0.0, maxGain, "blueBalance");
    checkRange(parameters.blackLevel, 0.0, 255.0, "blackLevel");
}

void check(const SequenceLayout& layout, const Driver::HeadDimensions& dimensions) {
    if (layout.lattice != Driver::Lattice::Plain)
        throw ArgumentInvalidException("Patterns for this mirror lattice cannot be decoded.", "layout");
    if (layout.axes.size() != 1 || layout.axes.front().axis != Driver::Axis::Columns)
        throw ArgumentInvalidException("The sequence must measure the projector's columns and nothing else.", "layout");
    const AxisLayout& axis = layout.axes.front();
    const bool complete = axis.phaseSteps == 4 && axis.periodLines >= 2 && axis.bitCount >= 1 &&
                          axis.bitCount <= Kernels::maxBits && axis.firstPhase + axis.phaseSteps <= layout.imageCount &&
                          axis.firstBit + 2 * axis.bitCount <= layout.imageCount;
    if (!complete)
        throw ArgumentInvalidException("The sequence's images do not make a code.", "layout");
    if (axis.lineCount != dimensions.projectorWidth)
        throw ArgumentInvalidException("The sequence is made for another projector width.", "layout",
                                       std::to_string(axis.lineCount));
}

void check(const Driver::HeadDimensions& dimensions) {
    for (const std::size_t side :
         {dimensions.sensorWidth, dimensions.sensorHeight, dimensions.projectorWidth, dimensions.projectorHeight})
        if (side == 0 || side > maxSidePixels)
            throw ArgumentInvalidException("The head's sides must have 1 to 65535 pixels.", "dimensions",
                                           std::to_string(side));
}

Driver::HeadDimensions dimensionsOf(const Driver::Calibration& calibration) {
    return {.sensorWidth = calibration.camera.width,
            .sensorHeight = calibration.camera.height,
            .projectorWidth = calibration.projector.width,
            .projectorHeight = calibration.projector.height};
}

/// Row buffers of one thread.
struct Scratch {
    explicit Scratch(std::size_t width)
        : halfPeriod(width),
          modulation(width),
          position(width),
          accepted(width),
          saturated(width),
          x(width),
          y(width),
          z(width),
          bgra(4 * width) {
        mosaic.fill(std::vector<std::uint8_t>(width + 2));
    }

    [[nodiscard]] Kernels::DecodedRow decoded() noexcept {
        return {.halfPeriod = halfPeriod.data(),
                .modulation = modulation.data(),
                .position = position.data(),
                .accepted = accepted.data(),
                .saturated = saturated.data()};
    }
    [[nodiscard]] Kernels::CoordinateRow coordinates() noexcept {
        return {.x = x.data(), .y = y.data(), .z = z.data()};
    }
    /// A mosaic row, readable from -1 to the width; three neighbouring rows are kept.
    [[nodiscard]] std::uint8_t* white(std::size_t row) noexcept { return mosaic[row % 3].data() + 1; }

    std::vector<std::uint16_t> halfPeriod;
    std::vector<float> modulation, position;
    std::vector<std::uint8_t> accepted, saturated;
    std::vector<float> x, y, z;
    std::vector<std::uint8_t> bgra;
    std::array<std::vector<std::uint8_t>, 3> mosaic;
};

/// What the threads need to know of one capture.
struct Frame {
    const Driver::ImageStack& images;
    const Parameters& parameters;
    PointCloud& cloud;
    bool rejectOutliers;
};

} // namespace

struct Reconstructor::State {
    State(SequenceLayout sequence, const ReconstructorOptions& options)
        : layout(std::move(sequence)),
          mosaic(mosaicOf(options.bayerLayout)),
          pool(options.threads),
          kernels(options.arithmetic == ReconstructorOptions::Arithmetic::Reference ? Kernels::reference()
                                                                                    : Kernels::vectorised()),
          triangulator(options) {}

    void resize(std::size_t newHeight, std::size_t newWidth);
    [[nodiscard]] std::size_t blockCount() const noexcept { return (height + blockRows - 1) / blockRows; }
    void computeBlock(const Frame& frame, std::size_t block, Scratch& buffers);
    void findPatches(const Frame& frame, std::size_t row, bool joinAbove);
    void removeOutliers(const Frame& frame);
    [[nodiscard]] Kernels::CodedRow codedRow(const Frame& frame, std::size_t row) const;
    void whiteRow(const Frame& frame, std::size_t row, Scratch& buffers) const;
    void colourRow(std::size_t row, Scratch& buffers) const;

    SequenceLayout layout;
    Mosaic mosaic;
    WorkerPool pool;
    const Kernels::Set& kernels;
    std::size_t height = 0;
    std::size_t width = 0;
    Triangulator triangulator;
    std::vector<Scratch> scratch; // one per thread
    PatchFilter patches{0, 0};
};

void Reconstructor::State::resize(std::size_t newHeight, std::size_t newWidth) {
    if (newHeight == height && newWidth == width)
        return;
    scratch.assign(pool.size(), Scratch(newWidth));
    patches = PatchFilter(newHeight, newWidth);
    height = newHeight;
    width = newWidth;
}

Kernels::CodedRow Reconstructor::State::codedRow(const Frame& frame, std::size_t row) const {
    const AxisLayout& axis = layout.axes.front();
    Kernels::CodedRow coded{.bitCount = axis.bitCount,
                            .periodLines = static_cast<float>(axis.periodLines),
                            .minModulation = static_cast<float>(frame.parameters.minModulation),
                            .minBitDifference = static_cast<std::uint8_t>(std::ceil(frame.parameters.minBitDifference)),
                            .saturationLevel = frame.parameters.saturationLevel,
                            .rejectSaturated = frame.parameters.rejectSaturated};
    for (std::size_t step = 0; step < axis.phaseSteps; ++step)
        coded.phase[step] = frame.images.row(axis.firstPhase + step, row).data();
    for (std::size_t image = 0; image < 2 * axis.bitCount; ++image)
        coded.bits[image] = frame.images.row(axis.firstBit + image, row).data();
    return coded;
}

void Reconstructor::State::whiteRow(const Frame& frame, std::size_t row, Scratch& buffers) const {
    const auto fixedPoint = [](double gain) { return static_cast<std::uint16_t>(std::lround(gain * 512.0)); };
    const AxisLayout& axis = layout.axes.front();
    const bool redRow = (row % 2 == 0) == mosaic.redFirst;
    const bool greenFirst = (row % 2 == 0) == mosaic.greenFirst;
    const std::uint16_t colour = fixedPoint(redRow ? frame.parameters.redBalance : frame.parameters.blueBalance);
    const std::uint16_t green = fixedPoint(1.0);
    Kernels::MosaicRow in{.saturationLevel = frame.parameters.saturationLevel,
                          .blackSum = static_cast<std::uint16_t>(std::lround(4.0 * frame.parameters.blackLevel)),
                          .gain = {greenFirst ? green : colour, greenFirst ? colour : green}};
    for (std::size_t step = 0; step < axis.phaseSteps; ++step)
        in.phase[step] = frame.images.row(axis.firstPhase + step, row).data();
    std::uint8_t* const white = buffers.white(row);
    kernels.mosaic(in, white, 0, width);
    // Mirrored at the border pixel, which keeps the mosaic's colours in step.
    *(white - 1) = white[width > 1 ? 1 : 0];
    white[width] = white[width > 1 ? width - 2 : 0];
}

void Reconstructor::State::colourRow(std::size_t row, Scratch& buffers) const {
    const std::size_t inner = height > 1 ? 1 : 0;
    const std::size_t above = row > 0 ? row - 1 : inner;
    const std::size_t below = row + 1 < height ? row + 1 : row - inner;
    kernels.demosaic({.above = buffers.white(above),
                      .current = buffers.white(row),
                      .below = buffers.white(below),
                      .saturated = buffers.saturated.data(),
                      .greenFirst = (row % 2 == 0) == mosaic.greenFirst,
                      .red = (row % 2 == 0) == mosaic.redFirst},
                     buffers.bgra.data(), 0, width);
}

void Reconstructor::State::computeBlock(const Frame& frame, std::size_t block, Scratch& buffers) {
    const std::size_t first = block * blockRows;
    const std::size_t last = std::min(first + blockRows, height);
    const Kernels::DecodedRow decoded = buffers.decoded();
    const Kernels::CoordinateRow coordinates = buffers.coordinates();
    if (first > 0)
        whiteRow(frame, first - 1, buffers);
    whiteRow(frame, first, buffers);
    for (std::size_t row = first; row < last; ++row) {
        if (row + 1 < height)
            whiteRow(frame, row + 1, buffers);
        kernels.decode(codedRow(frame, row), decoded, 0, width);
        if (frame.parameters.applyCalibration)
            triangulator.computeRow(row, decoded, coordinates);
        else
            rawRow(layout.axes.front().lineCount, width, decoded, coordinates);
        colourRow(row, buffers);
        kernels.pack(coordinates, decoded.modulation, buffers.bgra.data(), frame.cloud.row(row).data(), 0, width);
        if (frame.rejectOutliers)
            findPatches(frame, row, row > first);
    }
}

/// Finds a row's patches while its points are at hand.
void Reconstructor::State::findPatches(const Frame& frame, std::size_t row, bool joinAbove) {
    const auto thresholdMm = static_cast<float>(frame.parameters.outlierThresholdMm);
    patches.findRuns(frame.cloud, row, thresholdMm);
    if (joinAbove)
        patches.joinRows(frame.cloud, row, thresholdMm);
}

/// Joins the patches of the blocks and removes the small ones.
void Reconstructor::State::removeOutliers(const Frame& frame) {
    for (std::size_t row = blockRows; row < height; row += blockRows)
        patches.joinRows(frame.cloud, row, static_cast<float>(frame.parameters.outlierThresholdMm));
    const std::size_t minPoints = minPatchPoints(height * width);
    const auto work = [&](std::size_t block, std::size_t /*thread*/) {
        const std::size_t last = std::min((block + 1) * blockRows, height);
        for (std::size_t row = block * blockRows; row < last; ++row)
            patches.removeSmall(frame.cloud, row, minPoints);
    };
    pool.forEachBlock(blockCount(), std::cref(work));
}

Reconstructor::Reconstructor(const Driver::Calibration& calibration, SequenceLayout layout,
                             const ReconstructorOptions& options)
    : state_(std::make_unique<State>(std::move(layout), options)) {
    setCalibration(calibration);
}

Reconstructor::Reconstructor(const Driver::HeadDimensions& dimensions, SequenceLayout layout,
                             const ReconstructorOptions& options)
    : state_(std::make_unique<State>(std::move(layout), options)) {
    check(dimensions);
    check(state_->layout, dimensions);
    state_->resize(dimensions.sensorHeight, dimensions.sensorWidth);
}

Reconstructor::~Reconstructor() = default;

const SequenceLayout& Reconstructor::layout() const noexcept {
    return state_->layout;
}

void Reconstructor::setCalibration(const Driver::Calibration& calibration) {
    check(dimensionsOf(calibration));
    check(state_->layout, dimensionsOf(calibration));
    state_->triangulator.setCalibration(calibration, state_->pool);
    state_->resize(calibration.camera.height, calibration.camera.width);
}

void Reconstructor::reconstruct(const Driver::ImageStack& images, const Parameters& parameters, PointCloud& out) {
    State& state = *state_;
    check(parameters);
    if (parameters.applyCalibration && !state.triangulator.isCalibrated())
        throw LogicException("The head has no calibration, so that its images cannot become points. Name a calibration "
                             "file (Measurement/CalibrationFile), or switch Measurement/ApplyCalibration off to get "
                             "raw projector coordinates.");
    if (images.count() != state.layout.imageCount)
        throw ArgumentInvalidException("The capture has another number of images than its sequence.", "images",
                                       std::to_string(images.count()));
    if (images.height() != state.height || images.width() != state.width)
        throw ArgumentInvalidException("The images are not of the head's size.", "images",
                                       std::to_string(images.width()) + " x " + std::to_string(images.height()));
    if (out.height() != state.height || out.width() != state.width)
        out = PointCloud::uninitialized(state.height, state.width);
    const Frame frame{.images = images,
                      .parameters = parameters,
                      .cloud = out,
                      .rejectOutliers = parameters.rejectOutliers && parameters.applyCalibration};
    const auto work = [&](std::size_t block, std::size_t thread) {
        state.computeBlock(frame, block, state.scratch[thread]);
    };
    state.pool.forEachBlock(state.blockCount(), std::cref(work));
    if (frame.rejectOutliers)
        state.removeOutliers(frame);
}

} // namespace Vorta::Reconstruction
