#include "journal/piece_reader.h"

#include <algorithm>

namespace {

constexpr std::uint64_t longest_read = 1U << 20U;

}  // namespace

void piece_reader::read(std::uint64_t offset, std::uint64_t count, std::uint32_t size, std::uint32_t step,
                        const carving_pass& pass) {
    const std::uint64_t source = volume_.source_limit();
    const std::uint64_t held = offset >= source ? 0 : std::min(count, (source - offset + step - 1) / step);
    intake_.lose(count - held, std::min(size, step));
    count = held;
    // Pieces far apart are read alone; what lies between them nobody asked for.
    const std::uint64_t together = step > size ? 1 : std::max<std::uint64_t>(longest_read / step, 1);
    while (count != 0) {
        std::uint64_t taken = std::min(together, count);
        if (in_hole(offset, offset + size)) {
            // All pieces that end before the data begins.
            const bool to_the_end = data_begin_ == ~std::uint64_t{0};
            taken = to_the_end ? count : std::min((data_begin_ - offset - size) / step + 1, count);
        } else {
            read_together(offset, taken, size, step, pass);
        }
        offset += taken * step;
        count -= taken;
    }
}

// Of a piece of several clusters, those before a bad one are there: it alone is lost.
void piece_reader::read_together(std::uint64_t offset, std::uint64_t count, std::uint32_t size, std::uint32_t step,
                                 const carving_pass& pass) {
    const auto length = static_cast<std::size_t>((count - 1) * step + size);
    const auto own = static_cast<std::size_t>((count - 1) * step + std::min(size, step));
    if (buffer_.size() < length) buffer_.resize(length);
    const auto bytes = std::span(buffer_).first(length);
    losses_.clear();
    (void)read_around_damage(volume_.reader(), offset, bytes, {.unit = std::min(size, step)}, losses_);
    for (const loss& one : losses_) {
        if (one.begin < own) intake_.lose(1, std::min(one.end, own) - one.begin);
    }
    for (std::size_t at = 0; at < own; at += step) {
        const std::size_t end = losses_.empty() ? at + size : readable_up_to(losses_, at, at + size);
        if (at < end) intake_.carve(byte_view(bytes.subspan(at, end - at), offset + at), pass);
    }
}

// Asks the source once per stretch.
bool piece_reader::in_hole(std::uint64_t offset, std::uint64_t end) {
    if (offset < asked_from_ || offset >= data_end_) {
        asked_from_ = offset;
        if (!volume_.reader().next_data(offset, data_begin_, data_end_)) data_begin_ = data_end_ = ~std::uint64_t{0};
    }
    return end <= data_begin_;
}
