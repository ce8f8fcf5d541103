#include "journal/carving_pass.h"

#include "base/saturating.h"
#include "journal/journal_collection.h"

#include <limits>

namespace {

constexpr std::uint32_t usual_record_size = 1024;

}  // namespace

std::uint64_t entry_number_bound(ntfs_volume& volume) {
    const std::uint32_t record_size = volume.record_size() == 0 ? usual_record_size : volume.record_size();
    mft_entry mft;
    ntfs_stream data;
    if (!volume.load_entry(mft_entry_number, mft)) return std::numeric_limits<std::uint64_t>::max() / record_size;
    if (!collect_stream(mft, attribute_type::data, u"", volume.cluster_size(), data)) return 0;
    return (data.resident ? data.content.size() : extent_bytes(data.extents, volume.cluster_size(), false)) /
           record_size;
}

void count_lost(usnjrnl_context& run, std::uint64_t pieces, std::uint64_t bytes_each) {
    run.lost_bytes = saturating_sum(run.lost_bytes, saturating_product(pieces, bytes_each));
}

bool conclude_pass(usnjrnl_context& run) {
    run.found_something = run.journal->size() != 0;
    return run.found_something;
}

void show_results_text(const progress_sink& progress) {
    if (progress) progress("analyzing results - formatting output");
}
