#include "ntfs/mft_children.h"

#include "base/file_reference.h"
#include "ntfs/file_name.h"
#include "ntfs/fixup.h"
#include "ntfs/standard_information.h"

#include <optional>
#include <vector>

namespace {

file_times times_in(byte_view record, std::uint64_t entry) {
    file_times times;
    attribute_walk walk(record, entry);
    for (attribute one; walk.next_of(attribute_type::standard_information, one);) {
        if (!one.resident) continue;
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
    mft_scan(mft_reader& source, const directory_test& wanted, const child_visitor& visit)
        : source_(source), wanted_(wanted), visit_(visit) {}

    void run(progress& shown) {
        constexpr std::uint64_t between_words = 1024;  // records
        attribute name;
        for (std::uint64_t entry = 0; entry < source_.record_count(); ++entry) {
            if (entry % between_words == 0) shown.tell("resolving paths", entry, source_.record_count(), "MFT records");
            if (source_.view_record(entry, record_) != record_state::good || !in_use(record_)) continue;
            if (record_.value<std::uint64_t>(mft_record::base_reference) != 0) keep_record();  // the base is read too
            entry_ = entry;
            file_.reset();
            attribute_walk walk(record_, entry);
            while (walk.next_of(attribute_type::file_name, name)) {
                if (is_file_name(name)) take_name(name.value.value<std::uint64_t>(file_name_value::parent));
            }
        }
    }

private:
    void keep_record() {
        kept_record_.assign(record_.bytes().begin(), record_.bytes().end());
        record_ = byte_view(kept_record_);
    }

    void take_name(std::uint64_t directory) {
        if (!wanted_(directory)) return;
        if (!file_) find_file();
        if (file_->there) visit_(directory, file_->reference, file_->times);
    }

    // The file that the record belongs to: its own, or that of the base record which it extends.
    void find_file() {
        file_.emplace();
        const auto base = record_.value<std::uint64_t>(mft_record::base_reference);
        if (base == 0) {
            take_file(record_, entry_);
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

    mft_reader& source_;
    const directory_test& wanted_;
    const child_visitor& visit_;
    byte_view record_;
    std::uint64_t entry_ = 0;
    std::vector<std::uint8_t> kept_record_;
    std::vector<std::uint8_t> base_record_;
    std::optional<named_file> file_;  // of the record, once it was asked for
};

}  // namespace

void visit_mft_children(mft_reader& source, const directory_test& wanted, const child_visitor& visit, progress& shown) {
    mft_scan(source, wanted, visit).run(shown);
}
