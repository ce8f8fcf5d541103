#include "ntfs/mft_children.h"

#include "base/file_reference.h"
#include "ntfs/file_name.h"
#include "ntfs/fixup.h"

#include <algorithm>
#include <optional>
#include <span>

namespace {

namespace standard_information_value {
constexpr std::size_t created = 0;  // u64, FILETIME, like the next three
constexpr std::size_t modified = 8;
constexpr std::size_t mft_changed = 16;
constexpr std::size_t accessed = 24;
}  // namespace standard_information_value

file_times times_in(byte_view record, std::uint64_t entry) {
    file_times times;
    attribute_walk walk(record, entry);
    for (attribute one; walk.next(one);) {
        if (one.type != attribute_type::standard_information || !one.resident) continue;
        times.created = one.value.value<std::uint64_t>(standard_information_value::created);
        times.modified = one.value.value<std::uint64_t>(standard_information_value::modified);
        times.mft_changed = one.value.value<std::uint64_t>(standard_information_value::mft_changed);
        times.accessed = one.value.value<std::uint64_t>(standard_information_value::accessed);
        break;
    }
    return times;
}

bool in_use(byte_view record) {
    return record.value<std::uint32_t>(multi_sector_header::signature) == signature_file &&
           (record.value<std::uint16_t>(mft_record::flags) & mft_record::flag_in_use) != 0;
}

struct named_file {
    bool there = false;
    std::uint64_t reference = 0;
    file_times times;
};

class mft_scan {
public:
    mft_scan(ntfs_volume& source, std::vector<unread_directory>& directories)
        : source_(source), directories_(directories) {}

    void run() {
        for (std::uint64_t entry = 0; entry < source_.record_count(); ++entry) {
            if (source_.read_record(entry, record_) != record_state::good) continue;
            entry_ = entry;
            file_.reset();
            attribute_walk walk(view(), entry);
            if (!in_use(view())) continue;
            for (attribute one; walk.next(one);) {
                if (is_file_name(one)) take_name(one.value.value<std::uint64_t>(file_name_value::parent));
            }
        }
    }

private:
    [[nodiscard]] byte_view view() const { return byte_view(record_); }

    void take_name(std::uint64_t parent) {
        if (parent != last_parent_) {  // neighbours often lie in one directory
            const auto order_of = [](const unread_directory& one) { return reference_order(one.reference); };
            const auto first = std::ranges::lower_bound(directories_, reference_order(parent), {}, order_of);
            const auto last = std::ranges::upper_bound(directories_, reference_order(parent), {}, order_of);
            last_parent_ = parent;
            found_ = std::span(first, last);
        }
        if (found_.empty()) return;
        if (!file_) find_file();
        if (!file_->there) return;
        for (unread_directory& directory : found_) {
            wanted_file* const wanted = directory.listing.meet(file_->reference, listed_in::index);
            if (wanted != nullptr) wanted->times = file_->times;
        }
    }

    // The file that the record belongs to: its own, or that of the base record which it extends.
    void find_file() {
        file_.emplace();
        const auto base = view().value<std::uint64_t>(mft_record::base_reference);
        if (base == 0) {
            take_file(view(), entry_);
            return;
        }
        if (source_.read_record(entry_number(base), base_record_) != record_state::good) return;
        const byte_view base_view(base_record_);
        if (!in_use(base_view) || base_view.value<std::uint64_t>(mft_record::base_reference) != 0) return;
        take_file(base_view, entry_number(base));
        file_->there = file_->reference == base;
    }

    void take_file(byte_view record, std::uint64_t entry) {
        file_->there = true;
        file_->reference = file_reference(entry, record.value<std::uint16_t>(mft_record::sequence_number));
        file_->times = times_in(record, entry);
    }

    ntfs_volume& source_;
    std::vector<unread_directory>& directories_;
    std::vector<std::uint8_t> record_;
    std::vector<std::uint8_t> base_record_;
    std::uint64_t entry_ = 0;
    std::uint64_t last_parent_ = 0;
    std::span<unread_directory> found_;  // those with that reference
    std::optional<named_file> file_;     // of the record, once it was asked for
};

}  // namespace

void list_by_mft_scan(ntfs_volume& source, std::vector<unread_directory>& directories) {
    mft_scan(source, directories).run();
}
