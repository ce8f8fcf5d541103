#include "base/format_text.h"
#include "journal/carving.h"
#include "journal/piece_reader.h"

#include <algorithm>
#include <bit>
#include <vector>

namespace {

constexpr std::uint64_t bitmap_piece = 1U << 20U;
constexpr std::uint64_t largest_bitmap = (std::uint64_t{1} << 29U) - 1;
constexpr std::uint64_t free_clusters_between_texts = 753;

// Goes over the bits of $Bitmap in order and reads what is free, a run of free clusters at a time.
class free_cluster_walk {
public:
    free_cluster_walk(carving_run& run, std::uint64_t clusters)
        : volume_(run.volume),
          reader_(run.volume, run.intake),
          pass_{.origin = record_origin::unallocated,
                .entry_bound = run.entry_bound,
                .label = {},
                .cluster_size = volume_.cluster_size()},
          shown_(run.shown),
          shown_clusters_(clusters),
          clusters_(std::min(clusters, volume_.geometry().total_clusters)) {}

    // The next bytes of the bitmap.
    void take(std::span<const std::uint8_t> bits) {
        for (std::size_t at = 0; at < bits.size() && next_ < clusters_;) {
            const std::uint8_t eight = bits[at++];
            if (eight == 0 || eight == 0xFF) {
                take_alike(eight == 0, 8);
                continue;
            }
            for (unsigned bit = 0; bit < 8; ++bit) take_alike((eight >> bit & 1U) == 0, 1);
        }
    }

    // As many that could not be read. What their clusters are is not known, so they are left alone.
    void skip(std::uint64_t bytes) {
        read_free_run();
        next_ += std::min(bytes * 8, clusters_ - next_);
    }

    // As many bits of a hole in the bitmap, which say that all is free. However long: it costs nothing.
    void take_free(std::uint64_t bytes) { take_alike(true, bytes > clusters_ / 8 ? clusters_ : bytes * 8); }

    void finish() { read_free_run(); }

private:
    void take_alike(bool free, std::uint64_t count) {
        count = std::min(count, clusters_ - next_);
        if (count == 0) return;
        if (free) {
            if (free_from_ == free_to_) free_from_ = next_;
            free_to_ = next_ + count;
        } else {
            if (free_to_ != free_from_ || next_ == 0) {
                read_free_run();
                shown_.show("looking for unalloc cluster");
            }
        }
        next_ += count;
    }

    void read_free_run() {
        const std::uint32_t cluster_size = volume_.cluster_size();
        const std::uint64_t held = std::min(free_to_, volume_.clusters_in_source());
        while (free_from_ < held) {
            // As far as the next text, which comes before its cluster is read.
            const std::uint64_t until_text = free_clusters_between_texts - free_seen_ % free_clusters_between_texts;
            if (until_text == 1 && shown_.wanted()) {
                shown_.show(format_text("analyzing cluster %lld of %lld", static_cast<long long>(free_from_),
                                        static_cast<long long>(shown_clusters_)));
            }
            const std::uint64_t left = held - free_from_;
            const std::uint64_t count =
                !shown_.wanted() ? left
                                 : std::min(left, until_text == 1 ? free_clusters_between_texts : until_text - 1);
            const auto at = volume_.cluster_offset(free_from_);
            if (at) reader_.read(*at, count, cluster_size, cluster_size, pass_);
            free_from_ += count;
            free_seen_ += count;
        }
        // What a truncated image lacks is lost, all at once, however many clusters the volume claims.
        const auto behind = volume_.cluster_offset(free_from_);
        if (free_from_ != free_to_ && behind) {
            reader_.read(*behind, free_to_ - free_from_, cluster_size, cluster_size, pass_);
        }
        free_from_ = free_to_;
    }

    ntfs_volume& volume_;
    piece_reader reader_;
    carving_pass pass_;
    progress& shown_;
    std::uint64_t shown_clusters_;  // the bitmap's padding included
    std::uint64_t clusters_;
    std::uint64_t next_ = 0;
    std::uint64_t free_from_ = 0;  // the run of free clusters that is not read yet
    std::uint64_t free_to_ = 0;
    std::uint64_t free_seen_ = 0;
};

// The first `length` bytes of the bitmap; one bad cluster of it costs that cluster. The result is how many of them
// could not be read.
std::uint64_t walk_bitmap(ntfs_volume& volume, const ntfs_stream& bitmap, std::uint64_t length,
                          free_cluster_walk& walk) {
    std::vector<std::uint8_t> piece(static_cast<std::size_t>(std::min(length, bitmap_piece)));
    std::uint64_t at = 0;
    std::uint64_t lost = 0;
    loss_list losses;
    while (at < length) {
        const auto wanted =
            std::span(piece).first(static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), length - at)));
        std::size_t index = 0;
        if (find_extent(bitmap.extents, at / volume.cluster_size(), index) && bitmap.extents[index].sparse) {
            const std::uint64_t clusters = bitmap.extents[index].end_vcn() - at / volume.cluster_size();
            const std::uint64_t left = length - at;
            const std::uint64_t bytes =
                clusters > left / volume.cluster_size() ? left : clusters * volume.cluster_size();
            walk.take_free(bytes);
            at += bytes;
            continue;
        }
        (void)volume.clusters().read_stream(bitmap.extents, at, wanted, losses);
        std::size_t taken = 0;
        for (const loss& one : losses) {
            walk.take(wanted.subspan(taken, one.begin - taken));
            walk.skip(one.end - one.begin);
            lost += one.end - one.begin;
            taken = one.end;
        }
        walk.take(wanted.subspan(taken));
        at += wanted.size();
    }
    return lost;
}

}  // namespace

void carve_unallocated(carving_run& run) {
    if (!run.volume.mount()) return;
    ntfs_volume& volume = run.volume;
    run.entry_bound = entry_number_bound(volume);
    mft_entry entry;
    ntfs_stream bitmap;
    if (!volume.load_entry(bitmap_entry_number, entry) ||
        !collect_stream(entry, attribute_type::data, u"", volume.cluster_size(), bitmap)) {
        return;
    }
    const in_phase carving(run.intake.meter(), phase::carve);
    const std::uint64_t promised = bitmap.resident ? bitmap.content.size() : bitmap.real_size;
    const std::uint64_t bytes = std::min(promised, largest_bitmap);
    free_cluster_walk walk(run, bytes * 8);
    if (bitmap.resident) {
        walk.take(bitmap.content.bytes());
    } else {
        const std::uint64_t length = std::min(bytes, volume.geometry().total_clusters / 8 + 1);
        run.intake.lose(1, walk_bitmap(volume, bitmap, length, walk));
    }
    walk.finish();
    run.shown.show(carving_results_text);
}
