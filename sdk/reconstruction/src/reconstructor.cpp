#include "vorta/reconstruction/reconstructor.h"

#include "axisdecoder.h"
#include "capture.h"
#include "defect.h"
#include "kernels.h"
#include "patchfilter.h"
#include "rowcolour.h"
#include "triangulator.h"
#include "vorta/common/workerpool.h"

#include "vorta/common/exceptions.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <span>
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
    checkRange(parameters.gamma, 0.1, 10.0, "gamma");
}

void check(const SequenceLayout& layout) {
    if (layout != planSequence(layout.projectorWidth, layout.projectorHeight, layout.options))
        throw ArgumentInvalidException("The sequence's images do not make a code.", "layout");
}

void check(const SequenceLayout& layout, const Driver::HeadDimensions& head) {
    if (layout.projectorWidth != head.projectorWidth || layout.projectorHeight != head.projectorHeight)
        throw ArgumentInvalidException("The sequence is made for another projector size.", "layout",
                                       std::to_string(layout.projectorWidth) + " x " +
                                           std::to_string(layout.projectorHeight));
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

/// Depths are what tells outliers, and without a calibration there are none.
bool rejectsOutliers(const Parameters& parameters) {
    return parameters.rejectOutliers && parameters.applyCalibration;
}

/// Takes the points of a row's margins away.
void excludeMargins(const Parameters& parameters, std::size_t height, std::size_t row,
                    std::span<std::uint8_t> accepted) {
    const bool isOutside = row < parameters.invalidTop || height - 1 - row < parameters.invalidBottom;
    const std::size_t left = isOutside ? accepted.size() : std::min(parameters.invalidLeft, accepted.size());
    const std::size_t right = std::min(parameters.invalidRight, accepted.size());
    std::ranges::fill(accepted.first(left), std::uint8_t{0});
    std::ranges::fill(accepted.last(right), std::uint8_t{0});
}

/// Row buffers of one thread.
struct Scratch {
    Scratch(const std::vector<AxisDecoder>& decoders, std::size_t width) : colour(width), x(width), y(width), z(width) {
        for (const AxisDecoder& decoder : decoders)
            axes.emplace_back(decoder, width);
    }
    [[nodiscard]] Kernels::CoordinateRow coordinates() noexcept {
        return {.x = x.data(), .y = y.data(), .z = z.data()};
    }

    std::vector<AxisDecoder::Buffers> axes; // one per axis
    RowColour::Buffers colour;
    std::vector<float> x, y, z;
};

const Kernels::DecodeSet& decodeKernels(const ReconstructorOptions& options) {
    const bool isPlain = options.arithmetic == ReconstructorOptions::Arithmetic::Reference;
    return isPlain ? Kernels::decodeReference() : Kernels::decodeVectorised();
}

const Kernels::Set& pointKernels(const ReconstructorOptions& options) {
    const bool isPlain = options.arithmetic == ReconstructorOptions::Arithmetic::Reference;
    return isPlain ? Kernels::reference() : Kernels::vectorised();
}

std::vector<AxisDecoder> decodersOf(const SequenceLayout& layout, const Kernels::DecodeSet& kernels) {
    std::vector<AxisDecoder> decoders;
    for (const AxisLayout& axis : layout.axes)
        decoders.emplace_back(layout.options, axis, kernels);
    return decoders;
}

} // namespace

struct Reconstructor::State {
    State(SequenceLayout sequence, const ReconstructorOptions& options)
        : layout(std::move(sequence)),
          pool(options.threads),
          kernels(pointKernels(options)),
          colour(options.bayerLayout, kernels),
          decoders(decodersOf(layout, decodeKernels(options))),
          triangulator(options) {}

    void resize(std::size_t newHeight, std::size_t newWidth);
    [[nodiscard]] std::size_t blockCount() const noexcept { return (height + blockRows - 1) / blockRows; }
    void computeBlock(const Capture& capture, PointCloud& cloud, std::size_t block, Scratch& buffers);
    void computePoints(const Capture& capture, std::size_t row, Scratch& buffers) const;
    void findPatches(const Parameters& parameters, const PointCloud& cloud, std::size_t row, bool joinAbove);
    void removeOutliers(const Parameters& parameters, PointCloud& cloud);

    SequenceLayout layout;
    WorkerPool pool;
    const Kernels::Set& kernels;
    RowColour colour;
    std::vector<AxisDecoder> decoders; // one per axis
    std::size_t height = 0;
    std::size_t width = 0;
    Triangulator triangulator;
    std::vector<Scratch> scratch; // one per thread
    PatchFilter patches{0, 0};
};

void Reconstructor::State::resize(std::size_t newHeight, std::size_t newWidth) {
    if (newHeight == height && newWidth == width)
        return;
    scratch.assign(pool.size(), Scratch(decoders, newWidth));
    patches = PatchFilter(newHeight, newWidth);
    height = newHeight;
    width = newWidth;
}

void Reconstructor::State::computeBlock(const Capture& capture, PointCloud& cloud, std::size_t block,
                                        Scratch& buffers) {
    const std::size_t first = block * blockRows;
    const std::size_t last = std::min(first + blockRows, height);
    if (first > 0)
        colour.prepare(capture, first - 1, buffers.colour);
    colour.prepare(capture, first, buffers.colour);
    for (std::size_t row = first; row < last; ++row) {
        if (row + 1 < height)
            colour.prepare(capture, row + 1, buffers.colour);
        computePoints(capture, row, buffers);
        AxisDecoder::Buffers& columns = buffers.axes.front();
        colour.make(capture, row, columns.saturated(), buffers.colour);
        kernels.pack(buffers.coordinates(), columns.decoded().modulation, buffers.colour.bgra(), cloud.row(row).data(),
                     0, width);
        if (rejectsOutliers(capture.parameters))
            findPatches(capture.parameters, cloud, row, row > first);
    }
}

/// Fills the coordinates of a row.
void Reconstructor::State::computePoints(const Capture& capture, std::size_t row, Scratch& buffers) const {
    for (std::size_t axis = 0; axis < decoders.size(); ++axis)
        decoders[axis].decode(capture, row, buffers.axes[axis]);
    const Kernels::DecodedRow columns = buffers.axes.front().decoded();
    excludeMargins(capture.parameters, height, row, {columns.accepted, width});
    const bool hasRows = decoders.size() > 1;
    const Kernels::DecodedRow rows = hasRows ? buffers.axes.back().decoded() : Kernels::DecodedRow{};
    if (!capture.parameters.applyCalibration) {
        rawRow(layout, width, columns, hasRows ? &rows : nullptr, buffers.coordinates());
    } else if (hasRows) {
        const double tolerance = epipolarTolerance(static_cast<double>(layout.options.periodColumns));
        triangulator.computeRow(row, columns,
                                {.decoded = rows, .tolerance2 = static_cast<float>(tolerance * tolerance)},
                                buffers.coordinates());
    } else {
        triangulator.computeRow(row, columns, buffers.coordinates());
    }
}

/// Finds a row's patches while its points are at hand.
void Reconstructor::State::findPatches(const Parameters& parameters, const PointCloud& cloud, std::size_t row,
                                       bool joinAbove) {
    const auto thresholdMm = static_cast<float>(parameters.outlierThresholdMm);
    patches.findRuns(cloud, row, thresholdMm);
    if (joinAbove)
        patches.joinRows(cloud, row, thresholdMm);
}

/// Joins the patches of the blocks and removes the small ones.
void Reconstructor::State::removeOutliers(const Parameters& parameters, PointCloud& cloud) {
    for (std::size_t row = blockRows; row < height; row += blockRows)
        patches.joinRows(cloud, row, static_cast<float>(parameters.outlierThresholdMm));
    const std::size_t minPoints = minPatchPoints(height * width);
    const auto work = [&](std::size_t block, std::size_t /*thread*/) {
        const std::size_t last = std::min((block + 1) * blockRows, height);
        for (std::size_t row = block * blockRows; row < last; ++row)
            patches.removeSmall(cloud, row, minPoints);
    };
    pool.forEachBlock(blockCount(), std::cref(work));
}

Reconstructor::Reconstructor(const Driver::Calibration& calibration, SequenceLayout layout,
                             const ReconstructorOptions& options)
    : state_(std::make_unique<State>(std::move(layout), options)) {
    setCalibration(calibration);
    check(state_->layout);
}

Reconstructor::Reconstructor(const Driver::HeadDimensions& dimensions, SequenceLayout layout,
                             const ReconstructorOptions& options)
    : state_(std::make_unique<State>(std::move(layout), options)) {
    check(dimensions);
    check(state_->layout, dimensions);
    check(state_->layout);
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
    const Capture capture{.images = images, .parameters = parameters};
    const auto work = [&](std::size_t block, std::size_t thread) {
        state.computeBlock(capture, out, block, state.scratch[thread]);
    };
    state.pool.forEachBlock(state.blockCount(), std::cref(work));
    if (rejectsOutliers(parameters))
        state.removeOutliers(parameters, out);
}

} // namespace Vorta::Reconstruction
