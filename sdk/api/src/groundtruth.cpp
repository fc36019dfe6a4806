#include "vorta/api/groundtruth.h"

#include "netcdffile.h"
#include "vdf.h"

#include "vorta/common/replacingfile.h"

#include <array>
#include <limits>

namespace Vorta {

namespace {

using NetCdf::File;
using NetCdf::Type;

void write(File& file, const Driver::GroundTruth& truth) {
    const std::array<NetCdf::Dimension, 2> dimensions{file.makeDimension(File::root, Vdf::Name::row, truth.height),
                                                      file.makeDimension(File::root, Vdf::Name::column, truth.width)};
    const std::array<std::size_t, 2> start{0, 0};
    const std::array<std::size_t, 2> count{truth.height, truth.width};
    const std::array<std::size_t, 2> chunk{Vdf::blockRows(truth.height, truth.width), truth.width};

    file.setText(File::root, "Conventions", "CF-1.8");
    file.setText(File::root, "title", "True depth of a virtual scene");
    const NetCdf::Variable depth = file.makeVariable(File::root, "z_true", Type::Float, dimensions);
    file.compress(depth, chunk);
    file.setFill(depth, std::numeric_limits<float>::quiet_NaN());
    file.setText(depth, "long_name", "true z in camera coordinates, away from the camera");
    file.setText(depth, "units", "mm");
    const NetCdf::Variable visible = file.makeVariable(File::root, "visible", Type::UnsignedByte, dimensions);
    file.compress(visible, chunk);
    file.setText(visible, "long_name", "1 where the surface is seen by the camera and lit by the projector");
    file.setText(visible, "units", "1");
    file.endDefinitions();
    file.write(depth, start, count, std::span<const float>(truth.depthMm));
    file.write(visible, start, count, std::span<const std::uint8_t>(truth.visible));
    file.close();
}

} // namespace

void saveGroundTruth(const Driver::GroundTruth& truth, const std::string& path) {
    ReplacingFile target(path);
    {
        File file = File::create(target.temporaryPath(), path);
        write(file, truth);
    }
    target.commit();
}

} // namespace Vorta
