// storage/salvage.h: what can be read of a range: all at once, and where that fails in small units, so that a bad
// sector costs no more than its unit. Every source is read through this, whatever its bytes are for.
#pragma once

#include "storage/disk_reader.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

// A place [begin, end) that could not be read, counted from the first byte that was asked for.
struct loss {
    std::size_t begin = 0;
    std::size_t end = 0;
};

// In order; one for each unit, and one for all that lies behind the end of the source.
using loss_list = std::vector<loss>;

struct salvage_rule {
    std::uint64_t unit = 0;       // bytes, from the first byte of the range on
    bool stop_at_loss = false;    // what lies behind the first loss is not read, and lost with it
    bool keep_beginning = false;  // of a unit that cannot be read to its end
};

// Reads the bytes at `offset` of the source. What `losses` holds stays; those of this range are added. Bytes of `into`
// that are lost are unspecified. True when nothing is.
bool read_around_damage(disk_reader& source, std::uint64_t offset, std::span<std::uint8_t> into,
                        const salvage_rule& rule, loss_list& losses);

// Where the first loss begins that ends behind `at`; `end` when that is before it.
[[nodiscard]] std::size_t readable_up_to(std::span<const loss> losses, std::size_t at, std::size_t end);

// `offset`: of the piece in its source. False ends the reading.
using piece_sink = std::function<bool(std::uint64_t offset, std::span<std::uint8_t> piece, const loss_list& losses)>;

// Goes over [begin, end) of the source in pieces of a mebibyte and less that begin on a unit. Holes of the source are
// left out, as far as whole units lie in them.
void read_pieces(disk_reader& source, std::uint64_t begin, std::uint64_t end, const salvage_rule& rule,
                 const piece_sink& sink);
