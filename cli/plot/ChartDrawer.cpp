#include "plot/ChartDrawer.h"

namespace vx::cli {
namespace {

ChartDrawer installed = nullptr;

} // namespace

void setChartDrawer(ChartDrawer drawer)
{
    installed = drawer;
}

ChartDrawer chartDrawer()
{
    return installed;
}

} // namespace vx::cli
