// app/run_header.h: the three lines that stand in front of every output: program, when and where, command line.
#pragma once

#include "app/argument_list.h"

#include <cstdint>
#include <string>

// From the arguments as typed, before any option is taken; nothing but the time, the names of the machine and user, and
// the arguments goes in. Each line ends in a line feed.
[[nodiscard]] std::string compose_run_header(const argument_list& arguments, std::uint64_t now_filetime);
