// tests/fuzz/seed_volume.h: a small volume that has everything the passes look for: a journal in an extension record,
// directories with paths, remnants and a large index, free clusters, slack and a shadow copy.
#pragma once

#include "support/ntfs_image_builder.h"

namespace seed {

inline constexpr std::uint64_t home = 24;

// From the header to the end of its space: an entry in use, the last one, and what a deleted one left behind.
inline bytes node_with_remnant(std::uint32_t first = 16) {
    bytes node(first);
    append(node, index_entry_of(40, reference(home, 1), u"kept.txt"));
    append(node, last_index_entry());
    poke<std::uint32_t>(node, index_node_header::first_entry, first);
    poke<std::uint32_t>(node, index_node_header::total_size, static_cast<std::uint32_t>(node.size()));
    append(node, index_entry_of(41, reference(home, 1), u"gone.txt"));
    return node;
}

// Records of all versions, in two pages.
inline bytes journal() {
    bytes out;
    for (const std::uint16_t version : std::initializer_list<std::uint16_t>{2, 3, 4, 2}) {
        for (const std::uint64_t file : {40U, 41U, 25U, 99U}) {
            append(out, usn_record_builder{.version = version,
                                           .name = u"r\u00E9\u4E2D",
                                           .file_ref = reference(file, 1),
                                           .parent_ref = reference(file == 25 ? 5 : home, 1)}
                            .build());
        }
        if (version == 3) fill_page(out);
    }
    fill_page(out);
    return out;
}

inline constexpr std::size_t catalog_lcn = 200;
inline constexpr std::size_t catalog_space = 8192;

inline void put_directories(ntfs_image_builder& made) {
    const auto directory = [&](std::uint64_t entry, std::uint64_t parent, std::u16string_view name,
                               std::vector<made_attribute> index) {
        index.insert(index.begin(), name_attribute(name, reference(parent, 1)));
        made.put(entry,
                 {.attributes = std::move(index), .flags = mft_record::flag_in_use | mft_record::flag_directory});
    };
    directory(5, 5, u".",
              {index_root({11, 12, home, 26}), {.type = 0xA0, .name = u"$I30", .runs = run_list({{300, 8}})}});
    made.write(std::size_t{300} * 512, index_block_of({25, 27}));
    directory(11, 5, u"$Extend", {index_root({16})});
    directory(12, 5, u"System Volume Information", {index_root({13})});
    made_attribute root = index_root({});
    root.value.resize(index_root_value::node);
    append(root.value, node_with_remnant());
    directory(home, 25, u"home", {root, {.type = 0xA0, .name = u"$I30", .runs = run_list({{310, 8}})}});
    made.write(std::size_t{310} * 512, index_block_with(node_with_remnant(64)));
    directory(25, 5, u"above", {index_root({home})});
    directory(26, 27, u"loop", {index_root({27})});
    directory(27, 26, u"loops", {index_root({26})});
}

inline ntfs_image_builder volume() {
    ntfs_image_builder made{.cluster_size = 512, .clusters = 512, .mft_clusters = 96};
    made.build();
    made.put(0, {.attributes = {{.runs = run_list({{2, 96}}), .real_size = 48 * 1024}}});
    bytes bitmap(64, 0xFF);
    std::fill_n(bitmap.begin() + 50, 8, std::uint8_t{0});  // clusters 400 to 463
    made.write(std::size_t{190} * 512, bitmap);
    made.put(6, {.attributes = {{.runs = run_list({{190, 1}}), .real_size = bitmap.size()}}});
    put_directories(made);
    made.put(13, {.attributes = {name_attribute(u"{3808876b-c176-4e48-b7ae-04046e6cc752}", reference(12, 1)),
                                 {.runs = run_list({{catalog_lcn, 16}}), .real_size = 1024}}});
    const std::uint64_t header = 220 * 512;
    made.write(
        catalog_lcn * 512,
        shadow_catalog({{3, 1, header, reference(14, 1)}, {2, 2, header, 0}, {3, 3, header, reference(16, 1)}}, 1024));
    made.put(14, {.attributes = {{.runs = run_list({{400, 8}, {hole, 2}, {430, 8}}), .real_size = 4096}}});
    made.put(16, {.attributes = {name_attribute(u"$UsnJrnl", reference(11, 1)),
                                 attribute_list({list_entry(0x80, 17, 3)}),
                                 {.name = u"$Max", .value = bytes(32)}}});
    made.put(17, {.attributes =
                      {{.name = u"$J", .id = 3, .runs = run_list({{hole, 8}, {340, 8}, {350, 8}}), .real_size = 12288}},
                  .base = reference(16, 1)});
    const bytes records = journal();
    made.write(std::size_t{340} * 512, {records.begin(), records.begin() + 4096});
    made.write(std::size_t{350} * 512, {records.begin() + 4096, records.end()});
    made.put(40, {.attributes = {name_attribute(u"kept.txt", reference(home, 1)),
                                 {.runs = run_list({{380, 2}}), .real_size = 600}}});
    const bytes record = usn_record_builder{}.build();
    for (const std::size_t at : {381 * 512U + 88U, 400 * 512U, 430 * 512U, 450 * 512U}) made.write(at, record);
    for (std::uint64_t entry = 0; entry < 48; ++entry) {
        poke<std::uint16_t>(made.image, made.offset_of_record(entry) + mft_record::sequence_number, 1);
    }
    return made;
}

}  // namespace seed
