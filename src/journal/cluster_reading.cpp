#include "journal/cluster_reading.h"

#include "journal/carving_pass.h"

#include <algorithm>

namespace {

constexpr std::uint64_t longest_read = 1U << 20U;

}  // namespace

void piece_reader::read(std::uint64_t offset, std::uint64_t count, std::uint32_t size, std::uint32_t step) {
    const std::uint64_t source = volume_.source_limit();
    const std::uint64_t held = offset >= source ? 0 : std::min(count, (source - offset + step - 1) / step);
    count_lost(run_, count - held, std::min(size, step));
    count = held;
    // Pieces far apart are read alone; what lies between them nobody asked for.
    const std::uint64_t together = step > size ? 1 : std::max<std::uint64_t>(longest_read / step, 1);
    while (count != 0) {
        if (in_hole(offset, offset + size)) {
            // All pieces that end before the data begins.
            const std::uint64_t skipped =
                data_begin_ == ~std::uint64_t{0} ? count : (data_begin_ - offset - size) / step + 1;
            const std::uint64_t pieces = std::min(skipped, count);
            offset += pieces * step;
            count -= pieces;
            continue;
        }
        const std::uint64_t pieces = std::min(together, count);
        read_together(offset, pieces, size, step);
        offset += pieces * step;
        count -= pieces;
    }
}

void piece_reader::read_together(std::uint64_t offset, std::uint64_t count, std::uint32_t size, std::uint32_t step) {
    const std::uint64_t length = (count - 1) * step + size;
    buffer_.resize(static_cast<std::size_t>(std::max<std::uint64_t>(length, buffer_.size())));
    const auto bytes = std::span(buffer_).first(static_cast<std::size_t>(length));
    std::size_t got = 0;
    if (count > 1 && volume_.reader().read_at(offset, bytes, got) && got == length) {
        for (std::uint64_t i = 0; i < count; ++i) {
            receiver_.on_journal_chunk(
                byte_view(bytes.subspan(static_cast<std::size_t>(i * step), size), offset + i * step));
        }
        return;
    }
    for (std::uint64_t i = 0; i < count; ++i) read_one(offset + i * step, size, step);
}

void piece_reader::read_one(std::uint64_t offset, std::uint32_t size, std::uint32_t step) {
    const auto bytes = std::span(buffer_).first(size);
    std::size_t got = 0;
    if (!volume_.reader().read_at(offset, bytes, got)) got = read_beginning(offset, bytes, step);
    const std::size_t own = std::min(size, step);
    if (got < own) count_lost(run_, 1, own - got);
    if (got != 0) receiver_.on_journal_chunk(byte_view(bytes.first(got), offset));
}

// Of a piece of several clusters, those before the bad one: it alone is lost.
std::size_t piece_reader::read_beginning(std::uint64_t offset, std::span<std::uint8_t> into, std::uint32_t step) {
    std::size_t done = 0;
    while (step < into.size() && done < into.size()) {
        const auto cluster = into.subspan(done, std::min<std::size_t>(step, into.size() - done));
        std::size_t got = 0;
        if (!volume_.reader().read_at(offset + done, cluster, got)) break;
        done += got;
    }
    return done;
}

// Asks the source once per stretch.
bool piece_reader::in_hole(std::uint64_t offset, std::uint64_t end) {
    if (offset < asked_from_ || offset >= data_end_) {
        asked_from_ = offset;
        if (!volume_.reader().next_data(offset, data_begin_, data_end_)) data_begin_ = data_end_ = ~std::uint64_t{0};
    }
    return end <= data_begin_;
}
