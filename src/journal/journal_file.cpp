#include "journal/journal_file.h"

#include "journal/journal_walk.h"
#include "storage/salvage.h"

#include <algorithm>
#include <cstdint>
#include <span>

namespace {

constexpr std::uint64_t sector_size = 512;

class page_reader {
public:
    page_reader(disk_reader& source, journal_intake& intake) : source_(source), intake_(intake) {}

    // A piece of the file that begins on a page: whole pages as they are, of damaged ones what is there.
    void take(std::uint64_t offset, std::span<std::uint8_t> piece, const loss_list& losses) {
        for (std::size_t at = 0; at < piece.size(); at += journal_page_size) {
            const std::size_t end = std::min(at + journal_page_size, piece.size());
            const std::size_t readable = readable_up_to(losses, at, end);
            if (readable == end || !intake_.complete()) {
                hand_on(offset, piece, at, readable);
                intake_.lose(1, end - readable);
            } else {
                take_by_sectors(offset + at, piece.subspan(at, end - at));
            }
        }
    }

private:
    void take_by_sectors(std::uint64_t offset, std::span<std::uint8_t> page) {
        loss_list losses;
        (void)read_around_damage(source_, offset, page, {.unit = sector_size, .keep_beginning = true}, losses);
        std::size_t at = 0;
        for (const loss& one : losses) {
            hand_on(offset, page, at, one.begin);
            intake_.lose(1, one.end - one.begin);
            at = one.end;
        }
        hand_on(offset, page, at, page.size());
    }

    // [begin, end) of what stands at `offset`.
    void hand_on(std::uint64_t offset, std::span<const std::uint8_t> bytes, std::size_t begin, std::size_t end) {
        if (begin < end) intake_.walk(byte_view(bytes.subspan(begin, end - begin), offset + begin));
    }

    disk_reader& source_;
    journal_intake& intake_;
};

}  // namespace

void read_extracted_journal(disk_reader& source, journal_intake& intake, progress& shown) {
    const in_phase reading(intake.meter(), phase::read);
    const std::uint64_t size = source.disk_size();
    page_reader pages(source, intake);
    read_pieces(source, 0, size, {.unit = journal_page_size, .keep_beginning = true},
                [&](std::uint64_t offset, std::span<std::uint8_t> piece, const loss_list& losses) {
                    pages.take(offset, piece, losses);
                    intake.meter().count(phase::read, 0, piece.size());
                    shown.tell_bytes("reading", offset, size);
                    return true;
                });
    intake.meter().count(phase::read, intake.records().size(), 0);
}
