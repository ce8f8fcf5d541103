// storage/containers/big_endian.h: the numbers of VHD and QCOW2, whose first byte is the highest.
#pragma once

#include "base/byte_view.h"

#include <concepts>
#include <cstddef>
#include <cstdint>

// The number at `at`, or 0 when it does not lie wholly inside.
template <std::unsigned_integral T>
[[nodiscard]] T big_endian(byte_view bytes, std::size_t at) {
    T number = 0;
    for (std::size_t i = 0; i < sizeof(T) && bytes.fits(at, sizeof(T)); ++i) {
        number = static_cast<T>(number << 8U | bytes.value<std::uint8_t>(at + i));
    }
    return number;
}
