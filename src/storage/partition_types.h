// storage/partition_types.h: the type byte of a partition entry. Some types have a name without being taken from a
// table, and the other way round.
#pragma once

#include <cstdint>
#include <string>

// "unk" without one; " [guess]" behind the name when the bit guessed_partition is set.
[[nodiscard]] std::string partition_type_name(std::uint16_t type);

// Whether an entry of this type is taken. 0xEE is not: it stands for a whole table.
[[nodiscard]] bool is_known_partition_type(std::uint8_t type);
