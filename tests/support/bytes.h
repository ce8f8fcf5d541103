// tests/support/bytes.h: bytes that records, blocks and pages are put together from.
#pragma once

#include "bench/usn_record_builder.h"

using bytes = std::vector<std::uint8_t>;

inline void append(bytes& to, const bytes& more) { to.insert(to.end(), more.begin(), more.end()); }

// Zeros up to the next journal page.
inline void fill_page(bytes& to) { to.resize((to.size() + 4095) / 4096 * 4096); }
