#include "imageview/crosssectionplot.h"

#include "imageview/module.h"

CrossSectionPlot& makeCrossSectionPlot() {
    using Make = CrossSectionPlot* (*)();
    const auto make = reinterpret_cast<Make>(
        moduleFunction("VortaPlots", "vortaMakeCrossSectionPlot", "The cross section cannot be plotted"));
    return *make();
}
