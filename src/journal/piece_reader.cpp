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
            read_together({offset, taken, size, step}, pass);
        }
        offset += taken * step;
        count -= taken;
    }
}

void piece_reader::read_together(const pieces& these, const carving_pass& pass) {
    const std::uint64_t length = (these.count - 1) * these.step + these.size;
    buffer_.resize(static_cast<std::size_t>(std::max<std::uint64_t>(length, buffer_.size())));
    const auto bytes = std::span(buffer_).first(static_cast<std::size_t>(length));
    std::size_t got = 0;
    const bool whole = these.count > 1 && volume_.reader().read_at(these.offset, bytes, got) && got == length;
    for (std::uint64_t i = 0; i < these.count; ++i) {
        const std::uint64_t behind = i * these.step;
        if (whole) {
            const auto piece = bytes.subspan(static_cast<std::size_t>(behind), these.size);
            intake_.carve(byte_view(piece, these.offset + behind), pass);
        } else {
            read_one(these.offset + behind, these, pass);
        }
    }
}

void piece_reader::read_one(std::uint64_t offset, const pieces& of, const carving_pass& pass) {
    const auto bytes = std::span(buffer_).first(of.size);
    std::size_t got = 0;
    if (!volume_.reader().read_at(offset, bytes, got)) got = read_beginning(offset, bytes, of.step);
    const std::size_t own = std::min(of.size, of.step);
    if (got < own) intake_.lose(1, own - got);
    if (got != 0) intake_.carve(byte_view(bytes.first(got), offset), pass);
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
