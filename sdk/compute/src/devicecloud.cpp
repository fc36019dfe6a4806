#include "vorta/compute/devicecloud.h"

#include <utility>

namespace Vorta {

DeviceCloud::DeviceCloud(ComputeDevice device, PointCloud cloud)
    : device_(std::move(device)), cloud_(std::move(cloud)) {}

} // namespace Vorta
