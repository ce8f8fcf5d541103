// ntfs/entry_loading.cpp: mft_reader::load_entry: a base record and what its attribute list names.

#include "base/file_reference.h"
#include "base/format_text.h"
#include "ntfs/attribute_list.h"
#include "ntfs/fixup.h"
#include "ntfs/mft_reader.h"

#include <algorithm>
#include <map>
#include <set>

namespace {

using ull = unsigned long long;

bool find_attribute(byte_view record, const listed_attribute& wanted, attribute& out) {
    attribute_walk walk(record, wanted.entry_number);
    while (walk.next(out)) {
        if (out.type == wanted.type && out.id == wanted.id) return true;
    }
    return false;
}

}  // namespace

bool mft_reader::load_entry(std::uint64_t entry_number, mft_entry& entry) {
    entry = mft_entry{};
    entry.number = entry_number;
    std::vector<std::uint8_t> record;
    switch (read_record(entry_number, record)) {
        case record_state::good: break;
        case record_state::marked_bad:
            log().line(format_text("err: recd bad %llx", static_cast<ull>(entry_number)));
            return false;
        case record_state::no_record:
        case record_state::unreadable:
            log().line(format_text("err: mftfixup %llx", static_cast<ull>(entry_number)));
            return false;
    }
    entry.source_clusters = clusters_.clusters_in_source();
    const byte_view view(record);
    entry.sequence = view.value<std::uint16_t>(mft_record::sequence_number);
    entry.flags = view.value<std::uint16_t>(mft_record::flags);
    entry.base_reference = view.value<std::uint64_t>(mft_record::base_reference);
    entry.records.push_back(std::move(record));  // moving keeps the bytes where `view` sees them

    attribute_walk walk(view, entry_number);
    for (attribute next; walk.next(next);) entry.attributes.push_back(next);
    add_listed_attributes(entry);
    return true;
}

void mft_reader::add_listed_attributes(mft_entry& entry) {
    std::vector<attribute> lists;
    std::ranges::copy_if(entry.attributes, std::back_inserter(lists),
                         [](const attribute& one) { return one.type == attribute_type::attribute_list; });
    const bool learning = entry.number == mft_entry_number && !mounted_;
    if (learning) {
        for (const attribute& piece : entry.attributes) learn_extents(piece);
    }
    std::map<std::uint64_t, byte_view> loaded;  // an empty view: tried, and of no use
    std::set<listed_attribute> seen;
    std::size_t most_bytes = longest_attribute_list;  // of all lists of the file
    for (const attribute& list : lists) {
        const std::vector<std::uint8_t> bytes = attribute_list_bytes(list, most_bytes);
        most_bytes -= bytes.size();
        attribute_list_walk walk{byte_view(bytes)};
        for (listed_attribute wanted; walk.next(wanted);) {
            if (wanted.entry_number == entry.number || !seen.insert(wanted).second) continue;
            // Whatever the list says, its records lie in the source, and to look through them all is what it costs.
            if (loaded.size() > records_in_source() || !extension_bytes_.take(record_stride_)) {
                log().line("err: attribute lists claim more than the volume holds");
                return;
            }
            const auto [place, is_new] = loaded.try_emplace(wanted.entry_number);
            if (is_new) place->second = load_extension_record(wanted.entry_number, entry);
            attribute found;
            if (!find_attribute(place->second, wanted, found)) continue;
            if (learning) learn_extents(found);
            entry.attributes.push_back(std::move(found));
        }
    }
}

byte_view mft_reader::load_extension_record(std::uint64_t entry_number, mft_entry& entry) {
    log().line(format_text("primary entry %llu pointing to ref entry %llu", static_cast<ull>(entry.number),
                           static_cast<ull>(entry_number)));
    std::vector<std::uint8_t> record;
    if (read_record(entry_number, record) != record_state::good ||
        byte_view(record).value<std::uint32_t>(multi_sector_header::signature) != signature_file) {
        return {};
    }
    entry.records.push_back(std::move(record));
    return byte_view(entry.records.back());
}

// At most `most` bytes.
std::vector<std::uint8_t> mft_reader::attribute_list_bytes(const attribute& list, std::size_t most) {
    if (list.resident) {
        const auto bytes = list.value.bytes().first(std::min(list.value.size(), most));
        return {bytes.begin(), bytes.end()};
    }
    extent_list extents;
    make_extents(decode_runs(list.run_list, 0), extents);  // a list has one piece, whatever its header claims
    // What the last cluster holds behind the real size is stale.
    const std::uint64_t length =
        std::min({list.real_size, extent_bytes(extents, clusters_.cluster_size(), false), std::uint64_t{most}});
    if (!extension_bytes_.take(length)) return {};
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(length));
    bytes.resize(clusters_.read_stream_beginning(extents, 0, bytes));
    if (bytes.empty()) log().line("err: attribute list cannot be read");
    return bytes;
}

// The extension records of $MFT itself are found through the runs of $MFT known so far. Its list names the pieces in
// their order; of those that do not fit behind what is known only some are put in their place here, since each costs a
// pass over all.
void mft_reader::learn_extents(const attribute& piece) {
    if (piece.type != attribute_type::data || !piece.name.empty() || piece.resident) return;
    constexpr int most_misplaced = 64;
    const bool in_place = piece.first_vcn >= end_of(extents_);
    if (!in_place && ++misplaced_pieces_ > most_misplaced) return;
    if (extents_.size() / 4 > clusters_.clusters_in_source()) return;  // sound runs are no more than clusters and holes
    make_extents(decode_runs(piece.run_list, piece.first_vcn), extents_);
    if (!in_place) put_in_vcn_order(extents_);
}
