#include "storage/containers/big_endian.h"
#include "storage/containers/chain_medium.h"
#include "storage/containers/container_files.h"
#include "storage/containers/disk_fields.h"
#include "storage/containers/media.h"
#include "storage/partitions.h"

#include <libqcow.h>

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t smallest_read = std::size_t{64} << 10U;

struct qcow_closer {
    void operator()(libqcow_file_t* file) const {
        (void)libqcow_file_close(file, nullptr);
        (void)libqcow_file_free(&file, nullptr);
    }
};

using qcow_file = std::unique_ptr<libqcow_file_t, qcow_closer>;

// Why the image is none that the library reads right; empty when it is one.
std::string objection(const std::string& path, std::size_t& cluster) {
    using namespace qcow_header;
    disk_reader file;
    std::vector<std::uint8_t> bytes;
    if (!file.open(path, reader_mode::image_file) || !read_whole(file, 0, incompatible, bytes))
        return "it is cut short";
    const byte_view header(bytes);
    if (!holds_text(header, 0, "QFI\xFB")) return "it is no QCOW2";
    const auto number = big_endian<std::uint32_t>(header, version);
    const auto bits = big_endian<std::uint32_t>(header, cluster_bits);
    if (number != 2 && number != 3) return "its version " + std::to_string(number) + " is not read";
    if (bits < 9 || bits > 21) return "it is damaged";
    cluster = std::size_t{1} << bits;
    if (big_endian<std::uint32_t>(header, encryption) != 0) return "it is encrypted";
    const std::uint64_t entries = big_endian<std::uint32_t>(header, table_entries);
    const auto table = big_endian<std::uint64_t>(header, table_offset);
    if (entries > most_tables || table > file.disk_size() || entries * 8 > file.disk_size() - table) {
        return "it is damaged or cut short";
    }
    // Without its backing file the disk would have zeros where that has its data.
    if (big_endian<std::uint64_t>(header, backing_offset) != 0 && qcow_backing_name(path).empty())
        return "it is damaged";
    if (number == 2) return {};
    if (!read_whole(file, 0, compression, bytes)) return "it is cut short";
    const auto features = big_endian<std::uint64_t>(byte_view(bytes), incompatible);
    if ((features & is_corrupt) != 0) return "it is marked as damaged";
    if ((features & external_data) != 0) return "it keeps its data in another file";
    if ((features & other_compression) != 0) return "it is compressed with zstd";
    if (features >= extended_entries) return "it has features that are not known";
    return {};
}

qcow_file open_file(const std::string& path) {
    libqcow_file_t* file = nullptr;
    if (libqcow_file_initialize(&file, nullptr) != 1) return nullptr;
    qcow_file owned(file);
    return libqcow_file_open(file, path.c_str(), LIBQCOW_OPEN_READ, nullptr) == 1 ? std::move(owned) : nullptr;
}

}  // namespace

opened_medium open_qcow(const std::string& path) {
    std::vector<qcow_file> chain;
    std::vector<std::unique_ptr<allocation>> tables;
    std::size_t cluster = 0;
    std::uint64_t size = 0;
    for (std::string next = path;;) {
        if (chain.size() == longest_chain) return refused("its chain of backing files is too long");
        std::size_t own_cluster = 0;
        if (std::string why = objection(next, own_cluster); !why.empty()) {
            if (next != path) why.insert(0, "of its backing file " + next.append(": "));
            return refused(why);
        }
        qcow_file file = open_file(next);
        std::uint64_t own_size = 0;
        if (file == nullptr || libqcow_file_get_media_size(file.get(), &own_size, nullptr) != 1 || own_size == 0) {
            return refused("it is damaged or cut short");
        }
        if (chain.empty()) {
            cluster = own_cluster;
            size = own_size;
        } else if (own_size < size || libqcow_file_set_parent_file(chain.back().get(), file.get(), nullptr) != 1) {
            return refused("its backing file " + next + " does not fit");
        }
        tables.push_back(read_qcow_allocation(next, own_size));
        if (tables.back() == nullptr) return refused(next + " is damaged or cut short");
        chain.push_back(std::move(file));
        const std::string name = qcow_backing_name(next);
        if (name.empty()) break;  // there is none
        const std::optional<std::string> parent = file_beside(next, name);
        if (!parent) return refused_parent(name);
        next = *parent;
    }
    return {std::make_unique<chain_medium<qcow_file, libqcow_file_read_buffer_at_offset>>(
                std::move(chain), size, std::max(cluster, smallest_read)),
            laid_over_each_other(std::move(tables), false),
            {}};
}
