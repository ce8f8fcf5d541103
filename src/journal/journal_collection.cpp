#include "journal/journal_collection.h"

#include "journal/reference_pairs.h"
#include "journal/resolved_paths.h"
#include "journal/usn_record.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t longest_name_units = 255;

std::uint8_t marks_of(const journal_entry& entry) {
    const unsigned version = entry.version == 0 ? 0U : entry.version - 1U;
    return static_cast<std::uint8_t>(
        (entry.valid != 0 ? record_marks::valid : 0U) |
        static_cast<unsigned>(entry.origin) << record_marks::origin_shift | version << record_marks::version_shift |
        (entry.has_details ? record_marks::details : 0U) | (entry.foreign ? record_marks::foreign : 0U));
}

}  // namespace

journal_collection::journal_collection() = default;
journal_collection::~journal_collection() = default;

void journal_collection::add(const journal_entry& entry) {
    const std::uint64_t key = entry.timestamp;
    const std::size_t units = std::min(entry.name.size(), longest_name_units);
    packed_record* const into =
        key >= in_order_.last_key() ? in_order_.append(pool_, key, units) : strays_.append(pool_, key, units);
    into->fields() = entry.fields();
    into->record_offset = entry.record_offset;
    into->arrival_low = static_cast<std::uint32_t>(count_);
    into->arrival_high = static_cast<std::uint16_t>(std::uint64_t{count_} >> 32U);
    into->name_units = static_cast<std::uint8_t>(units);
    into->marks = marks_of(entry);
    std::copy_n(entry.name.data(), units, into->name());
    any_carved_ = any_carved_ || entry.origin != record_origin::journal;
    if (entry.has_details) details_.add(count_, entry.details);
    if (!entry.snapshot_label.empty() || !labels_.empty()) note_label(entry.snapshot_label);
    if (pairs_ != nullptr) {
        pairs_->add({entry.parent_ref, entry.file_ref}, (entry.file_attributes & attribute_directory) == 0);
    }
    ++count_;
}

void journal_collection::note_label(std::string_view label) {
    if (labels_.empty() || labels_.back().label != label) labels_.push_back({count_, std::string(label)});
}

std::string_view journal_collection::label_of(std::uint64_t arrival) const {
    const auto behind = std::ranges::upper_bound(labels_, arrival, {}, &labelled_stretch::first_arrival);
    return behind == labels_.begin() ? std::string_view{} : std::prev(behind)->label;
}

void journal_collection::for_each(const std::function<void(const packed_record&)>& take) const {
    const auto walk = [&take](const record_chain& chain) {
        record_chain::cursor at(chain);
        while (const packed_record* const record = at.next()) take(*record);
    };
    walk(in_order_);
    for (const record_chain& chain : strays_.chains()) walk(chain);
}

void journal_collection::for_each_of_journal(const std::function<void(const packed_record&)>& take) const {
    for_each([&take](const packed_record& one) {
        if (record_marks::origin_of(one.marks) == record_origin::journal) take(one);
    });
}

void journal_collection::number_pairs() { pairs_ = std::make_unique<reference_pairs>(); }

std::unique_ptr<reference_pairs> journal_collection::take_pairs() { return std::move(pairs_); }

void journal_collection::keep_paths(std::unique_ptr<const resolved_paths> paths) { paths_ = std::move(paths); }
