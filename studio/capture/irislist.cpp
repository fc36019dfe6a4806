#include "capture/irislist.h"

#include <algorithm>
#include <boost/numeric/conversion/cast.hpp>
#include <iterator>

namespace IrisList {

Values inserted(Values values, std::uint64_t value) {
    auto place = values.end();
    while (place != values.begin() && value < *std::prev(place))
        --place;
    values.insert(place, value);
    return values;
}

bool contains(const Values& values, std::uint64_t value) {
    return std::ranges::find(values, value) != values.end();
}

Values fromStored(const Values& stored, const Vorta::Range<std::uint64_t>& range, std::uint64_t current) {
    Values values;
    std::ranges::copy_if(stored, std::back_inserter(values),
                         [&](std::uint64_t value) { return range.contains(value); });
    std::ranges::sort(values);
    values.erase(std::unique(values.begin(), values.end()), values.end());
    if (values.empty())
        values.push_back(current);
    return values;
}

std::uint64_t fromInt(int value) {
    return boost::numeric_cast<std::uint64_t>(value);
}

} // namespace IrisList
