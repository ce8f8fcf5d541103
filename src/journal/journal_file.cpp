#include "journal/journal_file.h"

#include "journal/journal_walk.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace {

constexpr std::size_t piece_size = std::size_t{256} * journal_page_size;  // of one read

// Reads on after short reads. The result is how many bytes from the beginning of `into` are there.
std::size_t read_fully(const platform::file& source, std::int64_t offset, std::span<std::uint8_t> into) {
    std::size_t have = 0;
    while (have < into.size()) {
        std::size_t got = 0;
        if (!source.read_at(offset + static_cast<std::int64_t>(have), into.subspan(have), got)) break;
        have += got;
    }
    return have;
}

class page_reader {
public:
    page_reader(const platform::file& source, journal_intake& intake, progress& shown)
        : source_(source), intake_(intake), shown_(shown), buffer_(piece_size) {}

    // [begin, end) in bytes; begin stands on a page boundary.
    void read(std::int64_t begin, std::int64_t end) {
        while (begin < end) {
            const auto wanted = static_cast<std::size_t>(std::min<std::int64_t>(piece_size, end - begin));
            read_piece(begin, std::span(buffer_).first(wanted));
            intake_.meter().count(phase::read, 0, wanted);
            shown_.tell_bytes("reading", static_cast<std::uint64_t>(begin), static_cast<std::uint64_t>(source_.size()));
            begin += static_cast<std::int64_t>(wanted);
        }
    }

private:
    void read_piece(std::int64_t offset, std::span<std::uint8_t> piece) {
        const std::size_t have = read_fully(source_, offset, piece);
        const std::size_t whole = have == piece.size() ? have : have / journal_page_size * journal_page_size;
        for (std::size_t at = 0; at < whole; at += journal_page_size) hand_on(offset, piece.first(whole), at);

        // What failed is tried again page by page, so that a bad sector costs no more than its page.
        for (std::size_t at = whole; at < piece.size(); at += journal_page_size) {
            const auto page = piece.subspan(at, std::min(journal_page_size, piece.size() - at));
            const std::size_t got = read_fully(source_, offset + static_cast<std::int64_t>(at), page);
            hand_on(offset, piece.first(at + got), at);
            intake_.lose(1, page.size() - got);
        }
    }

    void hand_on(std::int64_t offset, std::span<const std::uint8_t> piece, std::size_t at) {
        const auto page = piece.subspan(at, std::min(journal_page_size, piece.size() - at));
        const std::uint64_t begin = static_cast<std::uint64_t>(offset) + at;
        intake_.walk(byte_view(page, begin), begin);
    }

    const platform::file& source_;
    journal_intake& intake_;
    progress& shown_;
    std::vector<std::uint8_t> buffer_;
};

}  // namespace

bool read_extracted_journal(const std::string& path, journal_intake& intake, progress& shown) {
    platform::file source;
    if (!source.open_for_reading(path)) return false;

    const in_phase reading(intake.meter(), phase::read);
    constexpr auto page = static_cast<std::int64_t>(journal_page_size);
    const std::int64_t size = source.size();
    page_reader reader(source, intake, shown);
    std::int64_t begin = 0;
    std::int64_t end = 0;
    for (std::int64_t at = 0; at < size && source.next_data(at, begin, end); at = end) {
        begin = std::max(at, begin / page * page);
        end = end >= size ? size : std::min(size, (end + page - 1) / page * page);
        if (begin >= end) break;
        reader.read(begin, end);
    }
    intake.meter().count(phase::read, intake.records().size(), 0);
    return true;
}
