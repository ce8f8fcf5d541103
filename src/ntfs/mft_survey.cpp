#include "ntfs/mft_survey.h"

#include "ntfs/standard_information.h"

#include <algorithm>

std::int64_t last_usn_in(const attribute& standard_information) {
    std::uint64_t usn = 0;
    if (!standard_information.resident || !standard_information.value.get(standard_information_value::last_usn, usn)) {
        return 0;
    }
    return std::max(std::int64_t{0}, static_cast<std::int64_t>(usn));
}

std::vector<surveyed_entry> survey_mft(mft_reader& mft, progress& shown, std::string_view task) {
    constexpr std::uint64_t between_words = 1024;  // records
    std::vector<surveyed_entry> found;
    byte_view record;
    attribute about;
    const std::uint64_t most = mft.records_in_source();
    for (std::uint64_t number = 0; number < mft.record_count() && found.size() < most; ++number) {
        if (number % between_words == 0) shown.tell(task, number, mft.record_count(), "MFT records");
        if (mft.view_record(number, record) != record_state::good ||
            record.value<std::uint32_t>(multi_sector_header::signature) != signature_file ||
            record.value<std::uint64_t>(mft_record::base_reference) != 0) {
            continue;
        }
        attribute_walk walk(record, number);
        if (!walk.next_of(attribute_type::standard_information, about)) continue;
        const bool in_use = (record.value<std::uint16_t>(mft_record::flags) & mft_record::flag_in_use) != 0;
        found.push_back(
            {.number = number,
             .last_usn = last_usn_in(about),
             .created = about.resident ? about.value.value<std::uint64_t>(standard_information_value::created) : 0,
             .sequence = record.value<std::uint16_t>(mft_record::sequence_number),
             .in_use = in_use});
    }
    return found;
}
