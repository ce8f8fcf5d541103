#include "journal/journal_walk.h"

#include "journal/sound_record.h"
#include "journal/usn_record.h"

#include <cstdint>

namespace {

bool is_reduced(const journal_entry& entry, byte_view record) {
    sound_record sound;
    return read_sound_record(record, sound) &&
           (entry.valid == 0 || sound.name.size() / sizeof(char16_t) > entry.name.size());
}

}  // namespace

void decode_record(journal_entry& entry, const byte_view& record) {
    switch (record.value<std::uint16_t>(usn_header::major_version)) {
        case 2: decode_record_v2(entry, record); break;
        case 3: decode_record_v3(entry, record); break;
        default: decode_record_v4(entry, record); return;  // which clears the run's fields itself
    }
    clear_run_fields(entry);
}

void walk_chunk(journal_collection& journal, byte_view chunk, journal_entry& scratch, std::uint64_t& reduced) {
    std::size_t at = 0;
    while (at < chunk.size()) {
        const byte_view rest = chunk.from(at);
        std::uint32_t length = 0;
        if (!rest.get(usn_header::record_length, length) || length > rest.size()) break;
        if (!header_is_plausible(rest)) {
            at = (at / journal_page_size + 1) * journal_page_size;
            continue;
        }
        decode_record(scratch, rest);
        if (scratch.valid == 0 || scratch.name.size() == kept_units_of_longer_name) {
            reduced += is_reduced(scratch, rest) ? 1U : 0U;
        }
        journal.add(scratch);
        at += length;
    }
}
