// journal/path_basis.h: how sure the path is that a file had when its record was written.
#pragma once

#include <cstdint>

// The weakest step of a path decides, so the order counts.
enum class path_basis : std::uint8_t {
    exact,    // a record tells it and nothing was lost in between, or the MFT and it did not change since
    likely,   // told across a gap, by a carved record, or by an MFT entry that changed later
    remnant,  // a freed MFT entry tells it
    partial,  // nothing does
};
