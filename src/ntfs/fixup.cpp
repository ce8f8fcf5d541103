#include "ntfs/fixup.h"

#include "ntfs/mft_record.h"

#include <algorithm>

namespace {

constexpr std::size_t usual_words = 9;
constexpr std::size_t most_words = 129;
constexpr std::size_t usual_first_attribute = 72;

}  // namespace

bool is_well_formed_file_record(byte_view record, record_sizes sizes) {
    const std::size_t words = sizes == record_sizes::all ? most_words : usual_words;
    std::uint32_t signature = 0;
    std::uint16_t sequence_offset = 0;
    std::uint16_t sequence_count = 0;
    std::uint16_t first_attribute = 0;
    return record.get(multi_sector_header::signature, signature) && signature == signature_file &&
           record.get(multi_sector_header::sequence_offset, sequence_offset) &&
           (sequence_offset == 48 || sequence_offset == 42) &&
           record.get(multi_sector_header::sequence_count, sequence_count) && sequence_count <= words &&
           record.get(mft_record::first_attribute, first_attribute) &&
           (first_attribute <= usual_first_attribute ||
            (sequence_count > usual_words && first_attribute <= (sequence_offset + 2 * sequence_count + 7) / 8 * 8));
}

void apply_update_sequence(std::span<std::uint8_t> block) {
    const byte_view view(block);
    const std::size_t array = view.value<std::uint16_t>(multi_sector_header::sequence_offset);
    const std::size_t count = view.value<std::uint16_t>(multi_sector_header::sequence_count);
    for (std::size_t i = 1; i < count && i * update_sequence_stride <= block.size(); ++i) {
        if (!view.fits(array + 2 * i, 2)) return;
        std::copy_n(block.begin() + static_cast<std::ptrdiff_t>(array + 2 * i), 2,
                    block.begin() + static_cast<std::ptrdiff_t>(i * update_sequence_stride - 2));
    }
}

record_kind apply_fixup(std::span<std::uint8_t> block, record_sizes sizes) {
    const byte_view view(block);
    switch (view.value<std::uint32_t>(multi_sector_header::signature)) {
        case signature_file:
            if (!is_well_formed_file_record(view, sizes)) return record_kind::none;
            apply_update_sequence(block);
            return record_kind::file_record;
        case signature_indx: apply_update_sequence(block); return record_kind::index_block;
        case signature_baad: return record_kind::bad_record;
        default: return record_kind::none;
    }
}
