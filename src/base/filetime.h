// base/filetime.h: FILETIME, the time of NTFS: units of 100 nanoseconds since 1601-01-01 UTC.
#pragma once

#include <cstdint>

inline constexpr std::uint64_t ticks_per_second = 10'000'000;
