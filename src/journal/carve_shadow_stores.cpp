#include "base/file_reference.h"
#include "base/format_text.h"
#include "base/utf.h"
#include "base/work_budget.h"
#include "journal/carving.h"
#include "journal/piece_reader.h"
#include "journal/shadow_stores.h"

#include <algorithm>

namespace {

constexpr std::uint64_t store_clusters_between_texts = 53;
constexpr std::uint32_t usual_piece_size = 4096;  // read at every cluster, whatever its size

class store_reader {
public:
    explicit store_reader(carving_run& run)
        : volume_(run.volume),
          intake_(run.intake),
          shown_(run.shown),
          reader_(run.volume, run.intake),
          pass_{.origin = record_origin::shadow_copy,
                .entry_bound = run.entry_bound,
                .label = {},
                .cluster_size = volume_.cluster_size()},
          piece_size_(intake_.complete() ? volume_.cluster_size() : usual_piece_size),
          clusters_(readings::shadow_stores,
                    std::min(volume_.geometry().total_clusters, volume_.clusters_in_source())) {}

    // False when the rest of the stores must be left: the file cannot be loaded or its first data attribute is empty.
    [[nodiscard]] bool read(const shadow_store& store) {
        pass_.label = "SnapID: " + guid_text(store.copy_id);
        volume_.log().line("info: shadow-copy store " + guid_text(store.store_id) + ", " + pass_.label + ", " +
                           to_utf8(store.operating_machine) + ", " + to_utf8(store.service_machine));
        mft_entry entry;
        if (!volume_.load_entry(entry_number(store.file_reference), entry)) return false;
        const auto is_data = [](const attribute& one) { return one.type == attribute_type::data; };
        const auto first = std::ranges::find_if(entry.attributes, is_data);
        if (first == entry.attributes.end()) return false;
        if ((first->resident ? first->value.size() : first->allocated_size) == 0) return false;
        ntfs_stream data;
        if (!collect_stream(entry, attribute_type::data, first->name, volume_.cluster_size(), data)) return false;
        for (const extent& part : data.extents) {
            if (!part.sparse) read_run(part);
        }
        return true;
    }

private:
    // No volume's stores have more clusters than the volume: what claims more is damage, and lost. So are clusters that
    // a truncated image lacks, all of a run at once.
    void read_run(const extent& part) {
        const std::uint64_t total = volume_.geometry().total_clusters;
        const std::uint64_t held = std::min(total, volume_.clusters_in_source());
        if (part.lcn >= total) return;
        const std::uint64_t claimed = std::min(part.length, total - part.lcn);
        const std::uint64_t there = part.lcn < held ? std::min(claimed, held - part.lcn) : 0;
        const std::uint64_t taken = clusters_.take_up_to(there);
        read_held(part.lcn, taken);
        intake_.lose(claimed - taken, std::min(piece_size_, volume_.cluster_size()));
    }

    void read_held(std::uint64_t lcn, std::uint64_t left) {
        while (left != 0) {
            if (counter_ % store_clusters_between_texts == 0 && shown_.wanted()) {
                shown_.show(format_text("analyzing entry %lld", static_cast<long long>(counter_)));
            }
            const std::uint64_t until_text = store_clusters_between_texts - counter_ % store_clusters_between_texts;
            const std::uint64_t count = shown_.wanted() ? std::min(left, until_text) : left;
            if (const auto at = volume_.cluster_offset(lcn)) {
                reader_.read(*at, count, piece_size_, volume_.cluster_size(), pass_);
            }
            lcn += count;
            counter_ += count;
            left -= count;
        }
    }

    ntfs_volume& volume_;
    journal_intake& intake_;
    progress& shown_;
    piece_reader reader_;
    carving_pass pass_;
    std::uint32_t piece_size_;
    work_budget clusters_;
    std::uint64_t counter_ = 0;
};

}  // namespace

void carve_shadow_stores(carving_run& run) {
    if (!run.volume.mount()) return;
    if (run.intake.complete()) run.entry_bound = entry_number_bound(run.volume);
    const in_phase carving(run.intake.meter(), phase::carve);
    std::uint64_t lost_bytes = 0;
    const std::vector<shadow_store> stores = find_shadow_stores(run.volume, lost_bytes);
    run.intake.lose(1, lost_bytes);
    store_reader reader(run);
    for (const shadow_store& store : stores) {
        if (!reader.read(store)) break;
    }
}
