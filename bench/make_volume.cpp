// lorq-make-volume: an NTFS volume with a change journal in an image file, made through mkntfs and libntfs-3g; nothing
// is mounted. The same options give the same layout. Says on standard output where the journal's runs lie:
// VCN, LCN and length of each. See usage below.
#include "bench/ntfs_library.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr const char* usage =
    "usage: lorq-make-volume [--option N]... [--journal FILE] OUT; numbers may end in K, M, G\n"
    "  --size N       bytes of the volume (64M)\n"
    "  --cluster N    bytes per cluster, 512 to 2M (4096)\n"
    "  --sector N     bytes per sector as the boot sector has it, 512 or 4096 (512)\n"
    "  --record N     bytes per MFT record, 1024 or 4096, which needs clusters of 4096 or more (1024)\n"
    "  --files N      files in \\files; every third is renamed, every fifth deleted (0)\n"
    "  --journal FILE becomes $Extend\\$UsnJrnl:$J; clusters of zeros in it become holes\n"
    "  --fragments N  runs that the journal's clusters are spread over; many need an attribute list (1)\n"
    "  --lowest N     lowest valid USN, as of a journal that was made anew (0)\n"
    "  --moved 1      $J leaves the base record before it grows, so that a short attribute list stays resident (0)\n";

using number_map = std::map<std::string, s64>;

using run = runlist_element;

s64 number(std::string_view text) {
    s64 value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const std::string_view unit = text.substr(static_cast<std::size_t>(end - text.data()));
    demand(error == std::errc{} && (unit.empty() || unit == "K" || unit == "M" || unit == "G"),
           "no number: " + std::string(text));
    return value << (unit.empty() ? 0 : unit == "K" ? 10 : unit == "M" ? 20 : 30);
}

inode_handle create(const inode_handle& folder, std::u16string_view name, mode_t kind) {
    inode_handle made(ntfs_create(folder.get(), const_cpu_to_le32(0), units(name), count(name), kind));
    demand(made != nullptr, "a file cannot be made");
    return made;
}

std::u16string wide(const std::string& text) { return {text.begin(), text.end()}; }

void make_files(ntfs_volume* volume, s64 number_of_files) {
    inode_handle folder = create(inode_handle(ntfs_inode_open(volume, FILE_root)), u"files", S_IFDIR);
    for (s64 i = 0; i < number_of_files; ++i) {
        const std::u16string old = wide("a file of the name " + std::to_string(i) + ".txt");
        const std::u16string renamed = wide("a renamed file " + std::to_string(i) + ".txt");
        inode_handle file = create(folder, old, S_IFREG);
        if (i % 3 == 0)
            demand(ntfs_link(file.get(), folder.get(), units(renamed), count(renamed)) == 0, "no second name");
        if (i % 3 != 0 && i % 5 != 0) continue;
        demand(ntfs_delete(volume, nullptr, file.release(), folder.release(), units(old), count(old)) == 0,
               "no deletion");
        folder.reset(ntfs_pathname_to_inode(volume, nullptr, "/files"));  // it was given up with the file
    }
}

// The clusters that are not zero, in stretches of at most `longest`.
std::vector<run> find_data(int file, std::basic_string_view<u8> content, s64 cluster, s64 longest) {
    std::vector<run> pieces;
    for (off_t at = 0; (at = lseek(file, at, SEEK_DATA)) >= 0; at = at / cluster * cluster + cluster) {
        const s64 vcn = at / cluster;
        const auto bytes = content.substr(static_cast<std::size_t>(vcn * cluster), static_cast<std::size_t>(cluster));
        if (bytes.find_first_not_of(u8{0}) == std::basic_string_view<u8>::npos) continue;
        if (pieces.empty() || pieces.back().vcn + pieces.back().length != vcn || pieces.back().length == longest) {
            pieces.push_back({vcn, LCN_HOLE, 0});
        }
        ++pieces.back().length;
    }
    return pieces;
}

// Gives $J its runs. To spread them, every second one lies behind all the others, in one stretch of the volume.
void place(ntfs_volume* volume, ntfs_attr* journal, std::vector<run>& pieces, bool spread, s64 end) {
    s64 clusters = 0;
    for (const run& piece : pieces) clusters += piece.length;
    const std::unique_ptr<run, closer<std::free>> room(ntfs_cluster_alloc(volume, 0, clusters, -1, DATA_ZONE));
    demand(room != nullptr && room.get()[1].length == 0, "no room in one piece");
    LCN lcn = room->lcn;
    for (std::size_t first = 0, step = spread ? 2 : 1; first < step; ++first) {
        for (std::size_t i = first; i < pieces.size(); i += step) lcn = (pieces[i].lcn = lcn) + pieces[i].length;
    }
    std::vector<run> runs;
    s64 vcn = 0;
    for (const run& piece : pieces) {
        if (piece.vcn != vcn) runs.push_back({vcn, LCN_HOLE, piece.vcn - vcn});
        runs.push_back(piece);
        vcn = piece.vcn + piece.length;
        std::printf("%lld %lld %lld\n", static_cast<long long>(piece.vcn), static_cast<long long>(piece.lcn),
                    static_cast<long long>(piece.length));
    }
    if (vcn != end) runs.push_back({vcn, LCN_HOLE, end - vcn});
    runs.push_back({end, LCN_ENOENT, 0});
    std::free(journal->rl);
    journal->rl = static_cast<run*>(std::malloc(runs.size() * sizeof(run)));  // the library frees it
    demand(journal->rl != nullptr, "no memory");
    std::ranges::copy(runs, journal->rl);
    journal->data_flags = ATTR_FLAGS{};  // or it reckons too little room for sparse pieces
    demand(ntfs_attr_update_mapping_pairs(journal, 0) == 0, "the runs of $J cannot be written");
}

void make_journal(ntfs_volume* volume, const std::string& path, number_map& plan) {
    const int file = open(path.c_str(), O_RDONLY);
    const s64 size = lseek(file, 0, SEEK_END);
    demand(size > 0, path + " cannot be read");
    void* const mapped = mmap(nullptr, static_cast<std::size_t>(size), PROT_READ, MAP_PRIVATE, file, 0);
    demand(mapped != MAP_FAILED, path + " cannot be mapped");
    const std::basic_string_view<u8> content(static_cast<const u8*>(mapped), static_cast<std::size_t>(size));

    const inode_handle extend(ntfs_inode_open(volume, 11));
    const inode_handle holder = create(extend, u"$UsnJrnl", S_IFREG);
    // Maximum size, allocation delta, identifier, lowest valid USN.
    const std::array<s64, 4> limits{s64{32} << 20, s64{8} << 20, 133'486'272'000'000'000, plan["--lowest"]};
    std::basic_string<u8> bytes(sizeof limits, 0);
    std::memcpy(bytes.data(), limits.data(), sizeof limits);
    const stream_handle max = add_stream(holder.get(), u"$Max", bytes);
    stream_handle journal = add_stream(holder.get(), u"$J");
    if (plan["--moved"] != 0) {
        journal.reset();
        move_out(holder.get(), AT_DATA, u"$J");
        journal = open_stream(holder.get(), AT_DATA, u"$J");
    }
    demand(ntfs_attr_truncate(journal.get(), size) == 0, "$J cannot be sized");

    const s64 cluster = plan["--cluster"];
    const bool spread = plan["--fragments"] > 1;
    std::vector<run> pieces = find_data(file, content, cluster, size);
    s64 clusters = 0;
    for (const run& piece : pieces) clusters += piece.length;
    if (spread) pieces = find_data(file, content, cluster, std::max<s64>(clusters / plan["--fragments"], 1));
    if (NAttrNonResident(journal.get())) place(volume, journal.get(), pieces, spread, (size + cluster - 1) / cluster);
    for (const run& piece : pieces) {
        const s64 at = piece.vcn * cluster;
        const s64 length = std::min(piece.length * cluster, size - at);
        demand(ntfs_attr_pwrite(journal.get(), at, length, content.data() + at) == length, "$J cannot be written");
    }
}

// The other sector size into both boot sectors. Nothing else on a volume depends on it.
void change_sector_size(const std::string& path, s64 volume_size, s64 old, s64 cluster, s64 wanted) {
    const int image = open(path.c_str(), O_RDWR);
    for (const s64 at : {s64{0}, volume_size / old * old - old}) {
        u8 boot[512];
        u64 sectors = 0;
        demand(pread(image, boot, sizeof boot, at) == 512, "no boot sector");
        std::memcpy(&sectors, boot + 0x28, sizeof sectors);
        sectors = sectors * static_cast<u64>(old) / static_cast<u64>(wanted);
        const int per_cluster = static_cast<int>(cluster / wanted);
        std::memcpy(boot + 0x28, &sectors, sizeof sectors);
        std::memcpy(boot + 0x0B, &wanted, 2);
        boot[0x0D] =
            static_cast<u8>(per_cluster <= 0x80 ? per_cluster : -__builtin_ctz(static_cast<unsigned>(per_cluster)));
        demand(pwrite(image, boot, sizeof boot, at) == 512, "no boot sector");
    }
    demand(close(image) == 0, "no boot sector");
}

void make(const std::vector<std::string>& arguments) {
    number_map plan{{"--size", 64 << 20}, {"--cluster", 4096}, {"--sector", 512}, {"--record", 1024},
                    {"--files", 0},       {"--fragments", 1},  {"--moved", 0},    {"--lowest", 0}};
    std::string journal;
    std::string out;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& option = arguments[i];
        const std::string value = i + 1 < arguments.size() ? arguments[i + 1] : "";
        if (!option.starts_with("--"))
            out = option;
        else if (++i; option == "--journal")
            journal = value;
        else
            plan.at(option) = number(value);
    }
    // mkntfs makes records as large as the sectors, but of 1024 bytes at least.
    const s64 sector = plan["--record"] == 4096 ? 4096 : 512;
    ntfs_volume* const volume = make_empty_volume(
        out, plan["--size"], "-c " + std::to_string(plan["--cluster"]) + " -s " + std::to_string(sector));
    if (plan["--files"] != 0) make_files(volume, plan["--files"]);
    if (!journal.empty()) make_journal(volume, journal, plan);
    demand(ntfs_umount(volume, FALSE) == 0, "the volume cannot be closed");
    if (sector != plan["--sector"])
        change_sector_size(out, plan["--size"], sector, plan["--cluster"], plan["--sector"]);
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc < 2) return std::fputs(usage, stderr), 2;
    make({argv + 1, argv + argc});
    return 0;
} catch (const std::exception& error) {
    return std::fprintf(stderr, "lorq-make-volume: %s\n", error.what()), 1;
}
