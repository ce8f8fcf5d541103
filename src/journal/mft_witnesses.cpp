#include "journal/mft_witnesses.h"

#include "base/file_reference.h"
#include "ntfs/file_name.h"
#include "ntfs/fixup.h"
#include "ntfs/mft_survey.h"
#include "ntfs/ntfs_volume.h"

#include <algorithm>

namespace {

std::int64_t last_usn_of(const mft_entry& entry) {
    const auto found = std::ranges::find(entry.attributes, attribute_type::standard_information, &attribute::type);
    return found == entry.attributes.end() ? 0 : last_usn_in(*found);
}

bool is_full_name(const attribute& one) {
    if (!is_file_name(one)) return false;
    const auto space = one.value.value<std::uint8_t>(file_name_value::name_space);
    return space <= name_space::win32_and_dos && space != name_space::dos;
}

bool ask(mft_reader& mft, std::uint64_t number, mft_witness& found) {
    mft_entry entry;
    if (!mft.load_entry(number, entry) || entry.base_reference != 0 || !entry.is_directory()) return false;
    const auto name = std::ranges::find_if(entry.attributes, is_full_name);
    if (name == entry.attributes.end()) return false;
    found.in_use = entry.in_use();
    found.sequence = entry.sequence;
    found.parent = name->value.value<std::uint64_t>(file_name_value::parent);
    found.last_usn = last_usn_of(entry);
    found.name = name_in(name->value);
    return true;
}

// The highest last USN of any entry, freed ones too.
std::int64_t moment_of(mft_reader& mft, progress& shown) {
    constexpr std::uint64_t between_words = 1024;  // records
    std::int64_t moment = 0;
    byte_view record;
    attribute found;
    for (std::uint64_t entry = 0; entry < mft.record_count(); ++entry) {
        if (entry % between_words == 0) shown.tell("resolving paths", entry, mft.record_count(), "MFT records");
        if (mft.view_record(entry, record) != record_state::good) continue;
        if (record.value<std::uint32_t>(multi_sector_header::signature) != signature_file) continue;
        attribute_walk walk(record, entry);
        if (walk.next_of(attribute_type::standard_information, found)) moment = std::max(moment, last_usn_in(found));
    }
    return moment;
}

}  // namespace

mft_testimony testimony_of(ntfs_volume& source, progress& shown) {
    mft_reader& mft = source.mft();
    const bool exported = !source.clusters().readable();
    return {exported        ? mft_origin::exported
            : mft.rebuilt() ? mft_origin::rebuilt
                            : mft_origin::volume,
            [&mft, &shown] { return moment_of(mft, shown); },
            [&mft](std::uint64_t number, mft_witness& found) { return ask(mft, number, found); }};
}
