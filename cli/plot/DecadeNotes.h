#pragma once

#include "plot/Chart.h"

#include <vector>

namespace vx::cli {

/// An impedance spectrum as it is drawn; a missing value is NaN.
struct Spectrum
{
    std::vector<double> frequency; ///< Hz
    std::vector<double> x;
    std::vector<double> y;
};

/// Notes at the points whose frequency is a power of ten, within 2 %. Each stands where it covers the
/// least of the curve, on its outer side when there is a choice; those that would come too close to an
/// earlier one are left out.
/// @param pixel  length of a pixel on both axes
std::vector<ChartNote> decadeNotes(const Spectrum& spectrum, double pixel);

/// The frequency 10^exponent Hz for people: "10 kHz", "1 Hz", "100 mHz".
QString decadeText(int exponent);

} // namespace vx::cli
