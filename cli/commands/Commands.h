#pragma once

#include "console/CommandLine.h"

#include <array>

namespace vx::cli {

extern const Command REPORT_COMMAND;
extern const Command PLOT_COMMAND;
extern const Command CHECK_COMMAND;
extern const Command UNITS_COMMAND;
extern const Command CONVERT_COMMAND;
extern const Command INSPECT_COMMAND;
extern const Command TRANSLATIONS_COMMAND;
extern const Command GENERATE_COMMAND;

/// Every command, in the order of the help text.
inline constexpr std::array<const Command*, 8> COMMANDS{
    &REPORT_COMMAND,  &PLOT_COMMAND,    &CHECK_COMMAND,        &UNITS_COMMAND,
    &CONVERT_COMMAND, &INSPECT_COMMAND, &TRANSLATIONS_COMMAND, &GENERATE_COMMAND,
};

} // namespace vx::cli
