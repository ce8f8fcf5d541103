// make_seeds FOLDER: writes what each fuzz target starts from to FOLDER/TARGET.
#include "seed_volume.h"
#include "support/disk_image_builder.h"

#include <filesystem>
#include <fstream>
#include <iostream>

namespace {

bytes behind(bytes head, const bytes& content) {
    append(head, content);
    return head;
}

bytes part_of(const bytes& image, std::size_t begin, std::size_t length) {
    const auto from = image.begin() + static_cast<std::ptrdiff_t>(begin);
    return {from, from + static_cast<std::ptrdiff_t>(length)};
}

bytes text(std::string_view of) { return {of.begin(), of.end()}; }

// What each file system is told by, in a partition of a GPT, in one of a chain of boot records, on a bare disk.
std::vector<bytes> disks() {
    test_image gpt(512 * 72), chain(512 * 72), bare(8192);
    gpt.boot_record(0).text(512, "EFI PART").gpt(512, 6, 128);
    for (std::uint64_t i = 0; i < 6; ++i) gpt.gpt_entry(1024 + 128 * i, 8 + 8 * i, 15 + 8 * i);
    gpt.ntfs(8 * 512, 7).text(16 * 512 + 3, "EXFAT   ").text(32 * 512 + 3, "-FVE-FS-");
    gpt.put<std::uint16_t>(24 * 512 + 1024 + 0x38, 0xEF53);
    gpt.text(40 * 512 + 3, "MSDOS5.0").text(40 * 512 + 0x52, "FAT32");
    gpt.text(48 * 512 + 3, "MSDOS5.0").text(48 * 512 + 0x36, "FAT16");
    chain.boot_record(0).entry(0, 0, 5, 4, 60).ntfs(63 * 512, 1);
    for (const std::uint32_t at : {4U, 8U}) {  // the second points back at the first
        chain.boot_record(at * 512).entry(at * 512, 0, 7, 1, 2).entry(at * 512, 1, 5, 8 - at, 2);
    }
    bare.put<std::uint64_t>(1024, ~std::uint64_t{0}).put<std::uint16_t>(1024 + 0x38, 0xEF53);
    return {gpt.bytes, chain.bytes, bare.bytes, test_image(1024).ntfs(0, 1).bytes};
}

// The eight records of the volume of mft_record, from the first that an input has on.
ntfs_image_builder record_volume() {
    ntfs_image_builder made{.cluster_size = 512, .clusters = 32, .mft_clusters = 16};
    return made.build();
}

bytes records_from(const ntfs_image_builder& made, std::uint64_t first) {
    return part_of(made.image, made.offset_of_record(first), (8 - first) * 1024);
}

// A file whose name and data stand in records 3 and 4, in a directory whose index stands in record 2.
bytes extension_records() {
    ntfs_image_builder made = record_volume();
    made.put(
        1, {.attributes = {name_attribute(u"b", reference(5, 0)), {.id = 1, .runs = run_list({{20, 1}, {hole, 1}})}}});
    made.put(2,
             {.attributes = {index_root({1, 6}), {.type = 0xA0, .name = u"$I30", .id = 1, .runs = run_list({{24, 8}})}},
              .base = reference(5, 1)});
    made.put(3, {.attributes = {name_attribute(u"a", reference(5, 0)),
                                {.id = 3, .runs = run_list({{26, 2}}), .first_vcn = 2}},
                 .base = reference(6, 1)});
    made.put(4, {.attributes = {{.id = 3, .runs = run_list({{20, 2}}), .real_size = 2000}}, .base = reference(6, 1)});
    made.put(5, {.attributes = {name_attribute(u".", reference(5, 0)),
                                attribute_list({list_entry(0x90, 2, 0), list_entry(0xA0, 2, 1)})},
                 .flags = 3});
    made.put(
        6, {.attributes = {attribute_list({list_entry(0x30, 3, 0), list_entry(0x80, 4, 3), list_entry(0x80, 3, 3)})}});
    return records_from(made, 1);
}

// A list that is not resident, in the place of record 7.
bytes records_with_long_list() {
    ntfs_image_builder made = record_volume();
    bytes list = list_entry(0x30, 3, 0);
    append(list, list_entry(0x80, 4, 1));
    made.put(3, {.attributes = {name_attribute(u"a", reference(5, 0))}, .base = reference(6, 0)});
    made.put(4, {.attributes = {{.id = 1, .runs = run_list({{20, 3}}), .real_size = 1500}}, .base = reference(6, 0)});
    made.put(5, {.attributes = {name_attribute(u".", reference(5, 0)), index_root({6})}, .flags = 3});
    made.put(6, {.attributes = {{.type = 0x20, .runs = run_list({{16, 1}}), .real_size = list.size()}}, .flags = 3});
    made.write(made.offset_of_record(7), list);
    return records_from(made, 1);
}

// On this one \\a is a junction to \\b.
bytes junction_records() {
    ntfs_image_builder made = record_volume();
    made.put(5, {.attributes = {name_attribute(u"."), index_root({6, 7})}, .flags = 3});
    made.put(6, {.attributes = {name_attribute(u"a"), reparse_point(0xA0000003, u"\\b")}});
    made.put(7, {.attributes = {name_attribute(u"b"), index_root({6})}, .flags = 3});
    return records_from(made, 0);
}

void add(const std::filesystem::path& folder, const std::vector<bytes>& seeds) {
    std::filesystem::create_directories(folder);
    for (std::size_t i = 0; i < seeds.size(); ++i) {
        std::ofstream out(folder / ("seed" + std::to_string(i)), std::ios::binary);
        out.exceptions(std::ios::failbit | std::ios::badbit);
        out.write(reinterpret_cast<const char*>(seeds[i].data()), static_cast<std::streamsize>(seeds[i].size()));
    }
}

void make(const std::filesystem::path& to) {
    const ntfs_image_builder made = seed::volume();
    const bytes record = usn_record_builder{}.build();
    bytes chain = poked<std::uint64_t>(bytes(9), 1, 0x1000);
    for (int i = 0; i < 4; ++i) append(chain, record);
    add(to / "journal", {behind({0}, seed::journal()), behind({1}, seed::journal()), behind({2}, seed::journal()),
                         behind({0}, record)});
    add(to / "carving_scan", {chain, behind(poked<std::uint64_t>(bytes(9), 1, 0x1000), seed::journal())});
    add(to / "mount", {behind({0}, part_of(made.image, 0, 20480)), behind({2}, part_of(made.image, 0, 6144))});
    add(to / "mft_record",
        {behind({0}, extension_records()), behind({0}, records_with_long_list()), behind({1}, junction_records())});
    add(to / "directory_index",
        {seed::node_with_remnant(), index_node({40, 41, 42}), part_of(made.image, 310 * 512 + 24, 512)});
    std::vector<bytes> partitioned;
    for (const bytes& disk : disks()) partitioned.push_back(behind(bytes(9), disk));
    add(to / "partitions", partitioned);
    add(to / "shadow_catalog", {part_of(made.image, seed::catalog_lcn * 512, 16384)});
    add(to / "options",
        {text("-image\na.dd\n-offset\n0x7e00\n-csv\n-pair_datetime\n-timeformat\nhh:mm:ss.xxx"),
         text("-file\n%TEMP%\\j\n-out\no.txt\n-csv_separator\n|\n-dateformat\nmm/dd/yyyy\n-xml\n-a"),
         text("-cmd_start_time\n2024-01-01 00:00:00\n-cmd_stop_time\n2024/02/01\n-alias\na|b\n-diags\nd"),
         text("-csvgen\n-no_whitespace\n-multiline\n-base10\n-show_dir_path\n-pulltimes\n-mftfile\nm\n-l2"),
         text("-partition\nc\n-csvl2t\n-bodyfile\n-xml_escape\n-vss\n2\n-append\n-show_offset\n-quiet"),
         text("-jsonl\n-from\n2024-01-01T00:00:00.5Z\n-to\n2024-02-01\n-find\n*\\u?.txt\n-mftfile\nm\n-unique\n-"
              "report\np.html\n-"
              "hostname\nh")});
    std::vector<bytes> runs;
    for (const std::uint32_t kind :
         {0x1FFFEU, 0x1FC00U, 0x4001FC20U, 0x20000C00U, 0x8001FC10U, 0x1025FC00U, 0x1001C000U}) {
        runs.push_back(poked<std::uint32_t>(bytes(244), 0, kind));  // 20 changes that change nothing
    }
    add(to / "volume", runs);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: make_seeds FOLDER\n";
        return 2;
    }
    make(argv[1]);
    return 0;
}
