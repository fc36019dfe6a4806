#include "vorta/virtual/viewcache.h"

#include <utility>

namespace Vorta::Virtual {

std::size_t ViewCache::Kept::bytes() const {
    std::size_t sum = ambient.size() * (sizeof(float) + sizeof(LightPath) + sizeof(float) + sizeof(std::uint8_t));
    for (const std::vector<ExtraPath>& row : extra)
        sum += sizeof(std::vector<ExtraPath>) + row.size() * sizeof(ExtraPath);
    return sum;
}

ViewCache::ViewCache(PixelRows pixels, std::size_t capacityBytes)
    : pixels_(std::move(pixels)), capacity_(capacityBytes) {}

void ViewCache::store(std::uint64_t pose, const View& view) {
    if (used_ >= capacity_ || kept_.contains(pose))
        return;
    Kept kept;
    kept.extra.resize(view.height);
    for (std::size_t row = 0; row < view.height; ++row) {
        if (!pixels_[row].empty())
            kept.extra[row] = view.extra[row];
        for (const std::uint32_t column : pixels_[row]) {
            const std::size_t index = row * view.width + column;
            kept.ambient.push_back(view.ambient[index]);
            kept.direct.push_back(view.direct[index]);
            kept.depthMm.push_back(view.truth.depthMm[index]);
            kept.visible.push_back(view.truth.visible[index]);
        }
    }
    used_ += kept.bytes(); // the one that exceeds the capacity is the last to be made
    if (used_ <= capacity_)
        kept_.emplace(pose, std::move(kept));
}

bool ViewCache::restore(std::uint64_t pose, View& view) const {
    const auto found = kept_.find(pose);
    if (found == kept_.end())
        return false;
    const Kept& kept = found->second;
    std::size_t i = 0;
    for (std::size_t row = 0; row < view.height; ++row) {
        if (!pixels_[row].empty())
            view.extra[row] = kept.extra[row];
        for (const std::uint32_t column : pixels_[row]) {
            const std::size_t index = row * view.width + column;
            view.ambient[index] = kept.ambient[i];
            view.direct[index] = kept.direct[i];
            view.truth.depthMm[index] = kept.depthMm[i];
            view.truth.visible[index] = kept.visible[i];
            ++i;
        }
    }
    return true;
}

} // namespace Vorta::Virtual
