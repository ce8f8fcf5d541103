// base/program.h: what the program calls itself, whatever its file is called.
#pragma once

#include <string_view>

inline constexpr std::string_view program_name = "lorq";
inline constexpr std::string_view version_text = "ver: 1.49";
