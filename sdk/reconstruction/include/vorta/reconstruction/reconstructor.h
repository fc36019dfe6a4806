#pragma once

#include "vorta/common/pointcloud.h"
#include "vorta/driver/calibration.h"
#include "vorta/driver/driver.h"
#include "vorta/driver/imagestack.h"
#include "vorta/reconstruction/sequence.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Vorta::Reconstruction {

/// What stays the same from capture to capture.
struct ReconstructorOptions {
    Driver::BayerLayout bayerLayout = Driver::BayerLayout::BGGR;
    std::size_t threads = 0; ///< threads that compute, the caller included; 0 = one per core

    /// The vector code and the plain C++ beside it give the same bytes; the latter is there to check the former.
    enum class Arithmetic : std::uint8_t { Vectorised, Reference };
    Arithmetic arithmetic = Arithmetic::Vectorised;

    /// How a projector column becomes a depth: by meeting the pixel's ray with the column, or by a polynomial of the
    /// column that each pixel gets with the calibration, which deviates from that by less than 1 micrometre at 700 mm
    /// (at z, by (z / 700 mm)^2 times as much) and holds between `nearMm` and `farMm`: points outside are invalid.
    enum class Method : std::uint8_t { Triangulation, Polynomial };
    Method method = Method::Triangulation;
    double nearMm = 200.0;  ///< for the polynomial, above 0
    double farMm = 3'000.0; ///< for the polynomial, above `nearMm` and at most 1e6

    [[nodiscard]] bool operator==(const ReconstructorOptions&) const = default;
};

/// What may change with every capture.
struct Parameters {
    double minModulation = 5.0; ///< grey levels; points whose modulation is below are invalid
    /// Grey levels, 1 to 255; a code image and its inverse closer than this, or twice the code image and the phase
    /// images' mean where there is no inverse, are no bit.
    double minBitDifference = 3.0;
    std::uint8_t saturationLevel = 255; ///< raw grey level from which a pixel counts as saturated
    bool rejectSaturated = true;        ///< whether points with a saturated phase image are invalid
    bool rejectOutliers = true;         ///< whether patches too small to be a surface are invalid
    double outlierThresholdMm = 5.0;    ///< largest depth step between connected neighbours, 0 to 1e6
    double redBalance = 1.0;            ///< gain of the red channel, 0 to 100
    double blueBalance = 1.0;           ///< gain of the blue channel, 0 to 100
    double blackLevel = 0.0;            ///< grey level of an unlit pixel, 0 to 255; subtracted from the colour

    /// Whether columns become points. Otherwise the cloud holds raw projector coordinates in pixels, the centre of the
    /// top left one being (0, 0): x = column, y = row (0 where rows are not measured) and z = 1, NaN where nothing was
    /// decoded. Outliers stay then: neighbours that do not belong together are known by their depths alone.
    bool applyCalibration = true;

    /// Whether points are invalid that a second path of the light seems to reach, by way of another surface.
    bool rejectReflections = false;

    std::size_t invalidTop = 0;    ///< image rows that give no points
    std::size_t invalidBottom = 0; ///< image rows that give no points
    std::size_t invalidLeft = 0;   ///< image columns that give no points
    std::size_t invalidRight = 0;  ///< image columns that give no points

    /// Tone curve of the sensor, 0.1 to 10: it shows linear light as output = 255 (input / 255)^(1 / gamma), and adds
    /// the black level afterwards. Other grey levels above, but for `saturationLevel`, are those of the linear light.
    double gamma = 1.0;

    /// What the colours are: `Gray` gives all three channels the luma; `Color` and `Raw` both mean the colours that
    /// demosaicing finds, since heads deliver their mosaic as it is.
    enum class ColourMode : std::uint8_t { Raw, Gray, Color };
    ColourMode colourMode = ColourMode::Raw;
};

/// Turns the raw images of one capture into an organised point cloud.
///
/// Each pixel is decoded on the mosaic itself (the light is white, so every colour channel carries the pattern): four
/// phase steps give modulation and wrapped phase, the code the half period, both together the projector column;
/// the camera ray and the plane of that column give the point. Where the rows are coded as well, the measured row must
/// lie where the ray's epipolar line says, and pulls the point along its ray, column and row each weighted by the
/// inverse of its variance. The result does not depend on the number of threads, nor on the processor.
///
/// A point is invalid (x = y = z = NaN) when its modulation is too small, it is saturated (unless allowed), its code is
/// undecided (more than one bit of a Gray code; more bits than the error-correcting code repairs), code and phase
/// contradict each other, any of this for its row, its column or row lies outside the projector, row and column
/// contradict each other, the ray and the plane do not meet in front of both or at less than 1 degree, or it lies in a
/// margin. Its contrast (the modulation amplitude of the columns' phase images) and colour are set all the same.
///
/// Glossy surfaces show the pattern where it is not, and such pixels decode to points anywhere. They lie in small
/// patches away from their neighbours: so points next to each other in a row or column count as connected when their
/// depths differ by no more than a threshold, and a connected patch of fewer points than 0.01 % of the grid, or than
/// 10, is made invalid too (unless allowed).
///
/// Reflections are told by their bits. On a path of its own light gives dark and lit images that differ by at least
/// twice the modulation, since the fringes have half that range and blur takes more from them. With a second path the
/// ranges add up in bits that both codes share and are subtracted in all others: paths that differ by less than a
/// factor of two in brightness leave less than half of what the modulation promises. One such bit may lie at a stripe's
/// edge; more than one, in the error-correcting code more than one besides those that change at one of the pixel's two
/// code edges, are a reflection.
///
/// Colour is the reading under full projector light less the black level, demosaiced bilinearly. Where a phase image of
/// the columns is saturated all three channels are 255; where none is, green stays below 255.
///
/// One thread at a time may use an object; inside, a pool of its own shares the rows. After the first call with a
/// given size nothing is allocated.
class Reconstructor {
public:
    /// Throws ArgumentInvalidException when the calibration has no pixels or more than 65535 a side, no finite positive
    /// focal lengths or no baseline across the measured lines, when the projector's lens model cannot be inverted over
    /// its area, or when the layout is none that `planSequence` makes for a projector of this size; for the polynomial
    /// method also when the lenses are too strong for it, and ArgumentOutOfRangeException when its range of depths is
    /// none.
    Reconstructor(const Driver::Calibration& calibration, SequenceLayout layout,
                  const ReconstructorOptions& options = {});
    /// For a head without calibration: it delivers raw projector coordinates until `setCalibration`. Throws
    /// ArgumentInvalidException when a size is 0 or above 65535, or the layout does not measure the columns of this
    /// projector.
    Reconstructor(const Driver::HeadDimensions& dimensions, SequenceLayout layout,
                  const ReconstructorOptions& options = {});
    Reconstructor(const Reconstructor&) = delete;
    Reconstructor& operator=(const Reconstructor&) = delete;
    ~Reconstructor();

    [[nodiscard]] const SequenceLayout& layout() const noexcept;

    /// Takes another calibration of the head, for instance after a change of temperature; the one that it has already
    /// costs nothing. Throws as the constructor does, and then keeps the earlier one.
    void setCalibration(const Driver::Calibration& calibration);

    /// Computes one point per camera pixel. `out` is written in place when it has the camera's size already (and is
    /// then seen by every handle that shares it), otherwise replaced by a new grid. Throws ArgumentInvalidException
    /// when the images do not have the layout's count or the camera's size, ArgumentOutOfRangeException for a parameter
    /// outside its range, and LogicException when a calibration is to be applied and there is none.
    void reconstruct(const Driver::ImageStack& images, const Parameters& parameters, PointCloud& out);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace Vorta::Reconstruction
