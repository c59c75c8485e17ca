#pragma once

#include <QtCore/QString>

namespace vx::cli {

/// The shortest decimal text that reads back as this sample, for example "4.10029".
QString numberText(float value);

/// The double whose text is that of numberText(): 4.10029 for the float nearest to it. Infinity and NaN
/// stay as they are.
double shortestDouble(float value);

} // namespace vx::cli
