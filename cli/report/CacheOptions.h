#pragma once

#include "InputError.h"
#include "console/CommandLine.h"

namespace vx::cli {

/// "Version" that a cache configuration must have.
inline constexpr int CACHE_CONFIGURATION_VERSION = 1;

/// Reads an amount of memory: a number, whole or with a decimal point, and B, KiB, MiB, GiB, TiB, kB, MB,
/// GB or TB; K, M, G and T mean KiB and so on, nothing means bytes. False for less than one byte and
/// everything else.
bool parseByteCount(const QString& text, qint64& bytes);

/// An amount of memory for people, for example "10.5 MiB".
QString byteCountText(qint64 bytes);

/// Configures the cache from --cache-config, --cache-dir and --budget, the latter two winning over the
/// file, and makes the cache directory. Anything but Done sets `error`.
ExitCode configureCache(const Arguments& arguments, InputError& error);

} // namespace vx::cli
