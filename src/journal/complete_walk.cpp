#include "journal/complete_walk.h"

#include "journal/journal_walk.h"
#include "journal/usn_record.h"

#include <algorithm>
#include <cstring>

namespace {

// The first place from `at` on, in steps of 8, whose 8 bytes are not all 0 or which has fewer.
std::size_t skip_zeros(byte_view bytes, std::size_t at) {
    std::uint64_t word = 0;
    while (bytes.get(at, word) && word == 0) at += usn_header::alignment;
    return std::min(at, bytes.size());
}

// How many bytes from the first to the last that is not 0.
std::uint64_t bytes_without_padding(byte_view of) {
    const auto is_set = [](std::uint8_t one) { return one != 0; };
    const auto rest = of.bytes().subspan(skip_zeros(of, 0));
    const auto first = std::ranges::find_if(rest, is_set);
    const auto behind_last = std::find_if(rest.rbegin(), std::make_reverse_iterator(first), is_set).base();
    return static_cast<std::uint64_t>(behind_last - first);
}

// What lies between two records, page by page.
std::uint64_t bytes_between(byte_view chunk, std::size_t begin, std::size_t end) {
    std::uint64_t count = 0;
    byte_view part;
    for (std::size_t page_end = 0; begin < end; begin = page_end) {
        const auto in_page = static_cast<std::size_t>((chunk.image_offset() + begin) % journal_page_size);
        page_end = std::min(begin + journal_page_size - in_page, end);
        if (chunk.sub(begin, page_end - begin, part)) count += bytes_without_padding(part);
    }
    return count;
}

}  // namespace

void take_sound_record(const sound_record& record, byte_view bytes, std::uint64_t offset, journal_entry& entry) {
    entry.fields() = record.fields();
    entry.valid = 1;
    entry.version = static_cast<std::uint8_t>(record.version);
    entry.name.resize(record.name.size() / sizeof(char16_t));
    if (!entry.name.empty()) std::memcpy(entry.name.data(), record.name.bytes().data(), record.name.size());
    entry.record_offset = offset;
    keep_details(bytes, entry);
    clear_run_fields(entry);
}

void walk_chunk_complete(journal_collection& journal, byte_view chunk, std::span<const placed_part> parts,
                         record_account& account, journal_entry& scratch) {
    std::size_t accounted = 0;  // up to here every byte belongs to a record or was counted
    std::size_t at = 0;
    sound_record record;
    while (at < chunk.size()) {
        const byte_view rest = chunk.from(at);
        if (read_sound_record(rest, record)) {
            if (accounted < at) account.no_record_bytes += bytes_between(chunk, accounted, at);
            take_sound_record(record, rest, reported_offset(parts, at), scratch);
            journal.add(scratch);
            at += record.length;
            accounted = at;
            continue;
        }
        // Inside what such a record claims, other headers are as likely its fields.
        if (accounted <= at && header_is_plausible(rest)) {
            account.count(record_fate::not_sound);
            account.no_record_bytes += bytes_between(chunk, accounted, at);
            accounted = at + rest.value<std::uint32_t>(usn_header::record_length);
        }
        at = skip_zeros(chunk, at + usn_header::alignment);
    }
    if (accounted < chunk.size()) account.no_record_bytes += bytes_between(chunk, accounted, chunk.size());
}
