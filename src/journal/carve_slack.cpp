#include "base/format_text.h"
#include "base/work_budget.h"
#include "journal/carving.h"

#include <algorithm>
#include <set>
#include <unordered_set>
#include <utility>
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
    explicit slack_reader(carving_run& run)
        : volume_(run.volume),
          intake_(run.intake),
          pass_{.origin = record_origin::slack, .entry_bound = run.entry_bound, .label = {}, .cluster_size = 0},
          cluster_(volume_.cluster_size()),
          budget_(readings::slack, volume_.clusters_in_source()) {}

    void read(std::uint64_t entry_number) {
        if (!volume_.load_entry(entry_number, entry_)) return count_if_unreadable(entry_number);
        if (belongs_to_another()) return;
        std::set<std::pair<std::uint32_t, std::u16string>> looked_at;  // a stream is collected once, whole
        for (const attribute& piece : entry_.attributes) {
            ntfs_stream stream;
            if (has_slack(piece) && looked_at.emplace(piece.type, piece.name).second &&
                collect_stream(entry_, piece.type, piece.name, volume_.cluster_size(), stream)) {
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
            intake_.lose(1, volume_.record_size());
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
        if (done_.contains(*at + start)) return;
        // A cluster is claimed by the file that has it and by those that had it before it, not by any number.
        if (*at >= volume_.source_limit() || !budget_.take(1)) return intake_.lose(1, cluster_.size());
        std::size_t got = 0;
        if (!volume_.reader().read_at(*at, cluster_, got)) got = 0;
        intake_.lose(1, cluster_.size() - got);
        const bool found =
            got > start && intake_.carve(byte_view(std::span(cluster_).first(got), *at).from(start), pass_);
        if (found || got < cluster_.size()) done_.insert(*at + start);
    }

    ntfs_volume& volume_;
    journal_intake& intake_;
    carving_pass pass_;
    std::vector<std::uint8_t> cluster_;
    mft_entry entry_;
    work_budget budget_;  // of clusters
    // Places on the source that held records or could not be read, since two files may claim one cluster. No others are
    // kept: a volume may have many millions of files, but found records are in memory anyway.
    std::unordered_set<std::uint64_t> done_;
};

// By the size of $MFT's data, and never more than the source has room for.
std::uint64_t count_entries(ntfs_volume& volume) {
    mft_entry mft;
    ntfs_stream data;
    if (!volume.load_entry(mft_entry_number, mft) ||
        !collect_stream(mft, attribute_type::data, u"", volume.cluster_size(), data)) {
        return 0;
    }
    const std::uint64_t size = data.resident ? data.content.size() : data.real_size;
    return std::min(size, volume.source_limit()) / volume.record_size();
}

}  // namespace

void carve_slack(carving_run& run) {
    if (!run.volume.mount()) return;
    run.entry_bound = entry_number_bound(run.volume);
    const in_phase carving(run.intake.meter(), phase::carve);
    const std::uint64_t entries = count_entries(run.volume);
    slack_reader reader(run);
    for (std::uint64_t e = 0; e < entries; ++e) {
        if (e % entries_between_texts == 0 && run.shown.wanted()) {
            run.shown.show(format_text("analyzing entry %lld of %lld", static_cast<long long>(e),
                                       static_cast<long long>(entries)));
        }
        reader.read(e);
    }
    run.shown.show(carving_results_text);
}
