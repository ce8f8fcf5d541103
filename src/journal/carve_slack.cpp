#include "base/format_text.h"
#include "journal/carving_pass.h"
#include "journal/chunk_receiver.h"

#include <algorithm>
#include <unordered_set>
#include <vector>

namespace {

constexpr std::uint64_t entries_between_texts = 53;
constexpr std::uint64_t slack_alignment = 8;

bool has_slack(const attribute& piece) {
    switch (piece.type) {
        case attribute_type::attribute_list:
        case attribute_type::data:
        case attribute_type::index_allocation:
        case attribute_type::bitmap: return !piece.resident && piece.first_vcn == 0;
        default: return false;
    }
}

class slack_reader {
public:
    slack_reader(ntfs_volume& volume, usnjrnl_context& run)
        : volume_(volume), run_(run), receiver_(run), cluster_(volume.cluster_size()) {}

    void read(std::uint64_t entry_number) {
        if (!volume_.load_entry(entry_number, entry_)) return count_if_unreadable(entry_number);
        if (belongs_to_another()) return;
        for (const attribute& piece : entry_.attributes) {
            ntfs_stream stream;
            if (has_slack(piece) && collect_stream(entry_, piece.type, piece.name, volume_.cluster_size(), stream)) {
                read_behind(stream);
            }
        }
    }

private:
    // Whose slack it tells is not known then. A damaged record is no record.
    void count_if_unreadable(std::uint64_t entry_number) {
        std::vector<std::uint8_t> record;
        if (volume_.read_record(entry_number, record) == record_state::unreadable &&
            volume_.record_offset(entry_number)) {
            run_.lost_bytes += volume_.record_size();
        }
    }

    // An extension record is looked at together with its base record, when there is one.
    [[nodiscard]] bool belongs_to_another() {
        if (entry_.base_reference == 0) return false;
        std::vector<std::uint8_t> base;
        return volume_.read_record(entry_number(entry_.base_reference), base) == record_state::good &&
               byte_view(base).value<std::uint16_t>(mft_record::sequence_number) ==
                   sequence_number(entry_.base_reference);
    }

    void read_behind(const ntfs_stream& stream) {
        const std::uint64_t used = stream.real_size % volume_.cluster_size();
        if (used == 0 || stream.extents.empty() || stream.extents.back().sparse) return;
        const extent& last = stream.extents.back();
        const std::uint64_t start = (used + slack_alignment - 1) / slack_alignment * slack_alignment;
        const std::uint64_t cluster = last.lcn + last.length - 1;
        const auto at = volume_.cluster_offset(cluster);
        if (start >= cluster_.size() || cluster >= volume_.geometry().total_clusters || !at) return;
        if (!seen_.insert(*at + start).second) return;
        std::size_t got = 0;
        if (!volume_.reader().read_at(*at, cluster_, got)) got = 0;
        run_.lost_bytes += cluster_.size() - got;
        if (got > start) receiver_.on_journal_chunk(byte_view(std::span(cluster_).first(got), *at).from(start));
    }

    ntfs_volume& volume_;
    usnjrnl_context& run_;
    chunk_receiver receiver_;
    std::vector<std::uint8_t> cluster_;
    mft_entry entry_;
    std::unordered_set<std::uint64_t> seen_;  // places on the source; two files may claim one cluster
};

// By the size of $MFT's data, and never more than the source has room for.
std::uint64_t count_entries(ntfs_volume& volume) {
    mft_entry mft;
    ntfs_stream data;
    if (!volume.load_entry(mft_entry_number, mft) ||
        !collect_stream(mft, attribute_type::data, u"", volume.cluster_size(), data)) {
        return 0;
    }
    std::uint64_t size = data.resident ? data.content.size() : data.real_size;
    if (volume.source_size() != 0) size = std::min(size, volume.source_size());
    return size / volume.record_size();
}

}  // namespace

bool carve_slack(ntfs_volume& volume, usnjrnl_context& run, const progress_sink& progress) {
    if (!volume.mount()) return false;
    run.mft_entry_count = entry_number_bound(volume);
    const active_pass active(run, carving_pass::slack);
    const std::uint64_t entries = count_entries(volume);
    slack_reader reader(volume, run);
    for (std::uint64_t e = 0; e < entries; ++e) {
        if (progress && e % entries_between_texts == 0) {
            progress(format_text("analyzing entry %lld of %lld", static_cast<long long>(e),
                                 static_cast<long long>(entries)));
        }
        reader.read(e);
    }
    show_results_text(progress);
    return conclude_pass(run);
}
