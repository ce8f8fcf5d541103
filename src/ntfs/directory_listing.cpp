#include "ntfs/directory_listing.h"

#include "base/file_reference.h"
#include "ntfs/attribute_list.h"
#include "ntfs/directory_index.h"
#include "ntfs/file_name.h"
#include "ntfs/index_node.h"
#include "ntfs/index_slack.h"

#include <algorithm>

namespace {

// kept: an entry above 512 bytes, which a name of more than 215 units has, ends the listing: what follows it in its
// node is not listed. Path look-ups (index_node.cpp) go on behind it.
constexpr std::uint16_t longest_entry = 512;
constexpr std::uint16_t longest_whole_entry = 600;  // with a name of 255 units and a sub-node
constexpr std::size_t least_slack = 8;
constexpr std::uint8_t longest_remnant_name = 64;
constexpr std::uint8_t longest_whole_name = 255;

void take_entry(byte_view entry, listed_in where, directory_listing& listing) {
    wanted_file* const file = listing.meet(entry.value<std::uint64_t>(index_entry::reference), where);
    if (file == nullptr) return;
    const byte_view key = entry.from(index_entry::key);
    file->times.created = key.value<std::uint64_t>(file_name_value::created);
    file->times.modified = key.value<std::uint64_t>(file_name_value::modified);
    file->times.mft_changed = key.value<std::uint64_t>(file_name_value::mft_changed);
    file->times.accessed = key.value<std::uint64_t>(file_name_value::accessed);
}

// The result is what lies behind the last entry in use.
byte_view walk_live_entries(byte_view node, listed_in where, std::uint16_t longest, directory_listing& listing) {
    std::uint64_t remaining = node.value<std::uint32_t>(index_node_header::total_size);
    byte_view entry = node.from(node.value<std::uint32_t>(index_node_header::first_entry));
    while (remaining != 0 && remaining <= index_node_header::largest_total && entry.fits(0, index_entry::key)) {
        const auto length = entry.value<std::uint16_t>(index_entry::length);
        const auto flags = entry.value<std::uint16_t>(index_entry::flags);
        if (length > longest || entry.value<std::uint16_t>(index_entry::key_length) > longest ||
            entry.value<std::uint64_t>(index_entry::reference) == 0 || flags == index_entry::flag_last ||
            flags == index_entry::flag_last + 1 || !entry.fits(0, length)) {
            break;
        }
        take_entry(entry, where, listing);
        entry = entry.from(length);
        if (length >= remaining) break;
        remaining -= length;
        if (entry.value<std::uint16_t>(index_entry::length) == 0) break;
    }
    return entry;
}

// Whether some of a directory's index can only be reached through clusters.
bool needs_clusters(const mft_entry& directory) {
    return std::ranges::any_of(directory.attributes, [](const attribute& one) {
        if (one.type == attribute_type::index_allocation) return true;
        if (one.type != attribute_type::attribute_list) return false;
        if (!one.resident) return true;
        attribute_list_walk walk(one.value);
        for (listed_attribute listed; walk.next(listed);) {
            if (listed.type == attribute_type::index_allocation) return true;
        }
        return false;
    });
}

}  // namespace

void directory_listing::clear() {
    files_.clear();
    any_ = false;
}

wanted_file* directory_listing::meet(std::uint64_t reference, listed_in where) {
    any_ = true;
    const auto found = std::ranges::lower_bound(files_, reference_order(reference), {}, [](const wanted_file& file) {
        return reference_order(file.reference);
    });
    if (found == files_.end() || found->reference != reference || found->where >= where) return nullptr;
    found->where = where;
    return &*found;
}

bool listed_parent::present() const {
    constexpr std::uint16_t both = mft_record::flag_in_use | mft_record::flag_directory;
    return (flags & both) == both;
}

void collect_index_entries(byte_view node, bool in_use, std::uint64_t directory, const index_reading& reading,
                           directory_listing& listing) {
    const listed_in where = in_use ? listed_in::index : listed_in::slack;
    const std::uint16_t longest = reading.complete ? longest_whole_entry : longest_entry;
    const byte_view slack = walk_live_entries(node, where, longest, listing);
    if (!reading.slack || slack.size() < least_slack) return;
    const std::uint8_t longest_name_there = reading.complete ? longest_whole_name : longest_remnant_name;
    for (const std::size_t start : find_slack_entries(slack, directory, longest_name_there)) {
        take_entry(slack.from(start), listed_in::slack, listing);
    }
}

bool list_parent_directory(mft_entries_ctx& context, std::uint64_t& parent, directory_listing& listing,
                           listed_parent& found) {
    found = listed_parent{};
    mft_entry directory;
    if (!context.source.load_entry(entry_number(parent), directory)) return false;
    if (sequence_number(parent) == 0) parent = file_reference(directory.number, directory.sequence);
    if (sequence_number(parent) != directory.sequence) return false;
    found.flags = directory.flags;
    context.paths->add(parent, directory);
    if (!found.present()) return false;  // whatever its index holds, nothing is looked up in it
    const index_reading& reading = context.reading;
    const auto collect = [&](byte_view node, bool in_use) {
        collect_index_entries(node, in_use, parent, reading, listing);
    };
    visit_index_nodes(context.source.clusters(), directory, context.index_bytes,
                      reading.complete ? block_bits::asked : block_bits::not_asked, collect);
    found.index_out_of_reach = !context.source.clusters().readable() && needs_clusters(directory);
    return listing.any() || found.index_out_of_reach;
}
