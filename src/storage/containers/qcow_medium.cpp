#include "storage/containers/big_endian.h"
#include "storage/containers/chain_medium.h"
#include "storage/containers/container_files.h"
#include "storage/containers/disk_fields.h"
#include "storage/containers/media.h"
#include "storage/containers/qcow_entry.h"
#include "storage/partitions.h"

#include "platform/platform.h"

#include <libqcow.h>
#include <zlib.h>

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

// The library has one function for the names of each kind of system.
[[nodiscard, maybe_unused]] bool open_image(libqcow_file_t* file, const std::string& path) {
    return libqcow_file_open(file, path.c_str(), LIBQCOW_OPEN_READ, nullptr) == 1;
}
#ifdef LIBQCOW_HAVE_WIDE_CHARACTER_TYPE
[[nodiscard, maybe_unused]] bool open_image(libqcow_file_t* file, const std::wstring& path) {
    return libqcow_file_open_wide(file, path.c_str(), LIBQCOW_OPEN_READ, nullptr) == 1;
}
#endif

// An image as the library reads it, but for its compressed clusters: of one that inflates to less than it should the
// library gives what happens to lie behind as a success.
class qcow_image {
public:
    [[nodiscard]] bool open(const std::string& path) {
        libqcow_file_t* opened = nullptr;
        if (libqcow_file_initialize(&opened, nullptr) != 1) return false;
        file_.reset(opened);
        std::vector<std::uint8_t> header;
        if (!bytes_.open(path, reader_mode::image_file) || !read_whole(bytes_, 0, qcow_header::incompatible, header) ||
            !open_image(opened, platform::native_path(path))) {
            return false;
        }
        cluster_ = std::uint64_t{1} << big_endian<std::uint32_t>(byte_view(header), qcow_header::cluster_bits);
        table_ = big_endian<std::uint64_t>(byte_view(header), qcow_header::table_offset);
        return true;
    }

    [[nodiscard]] libqcow_file_t* file() const { return file_.get(); }

    [[nodiscard]] bool read(std::uint64_t offset, std::span<std::uint8_t> into) {
        while (!into.empty()) {
            const std::uint64_t lead = offset % cluster_;
            const auto part =
                into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), cluster_ - lead)));
            const qcow_entry entry = entry_of(offset / cluster_);
            if (entry.packed != 0) {
                if (!inflate_cluster(entry)) return false;
                std::ranges::copy(std::span(inflated_).subspan(static_cast<std::size_t>(lead), part.size()),
                                  part.begin());
            } else if (libqcow_file_read_buffer_at_offset(file(), part.data(), part.size(),
                                                          static_cast<std::int64_t>(offset),
                                                          nullptr) != static_cast<std::int64_t>(part.size())) {
                return false;
            }
            offset += part.size();
            into = into.subspan(part.size());
        }
        return true;
    }

private:
    [[nodiscard]] qcow_entry entry_of(std::uint64_t cluster) {
        const std::uint64_t per_table = std::max<std::uint64_t>(cluster_ / 8, 1);
        std::vector<std::uint8_t> number;
        if (!read_whole(bytes_, table_ + cluster / per_table * 8, 8, number)) return {0, cluster_};
        const std::uint64_t table = big_endian<std::uint64_t>(byte_view(number), 0) & qcow_header::offset_mask;
        if (table == 0 || !read_whole(bytes_, table + cluster % per_table * 8, 8, number)) return {0, cluster_};
        return {big_endian<std::uint64_t>(byte_view(number), 0), cluster_};
    }

    [[nodiscard]] bool inflate_cluster(const qcow_entry& entry) {
        constexpr int raw_with_small_window = -12;
        const std::uint64_t left = bytes_.disk_size() - std::min(bytes_.disk_size(), entry.offset);
        if (!read_whole(bytes_, entry.offset, static_cast<std::size_t>(std::min(entry.packed, left)), packed_))
            return false;
        inflated_.resize(static_cast<std::size_t>(cluster_));
        z_stream stream{};
        stream.next_in = packed_.data();
        stream.avail_in = static_cast<uInt>(packed_.size());
        stream.next_out = inflated_.data();
        stream.avail_out = static_cast<uInt>(inflated_.size());
        if (inflateInit2(&stream, raw_with_small_window) != Z_OK) return false;
        const int result = inflate(&stream, Z_FINISH);
        (void)inflateEnd(&stream);
        return stream.avail_out == 0 && (result == Z_STREAM_END || result == Z_BUF_ERROR);
    }

    std::unique_ptr<libqcow_file_t, qcow_closer> file_;
    disk_reader bytes_;
    std::uint64_t cluster_ = 0;
    std::uint64_t table_ = 0;
    std::vector<std::uint8_t> packed_;
    std::vector<std::uint8_t> inflated_;
};

std::int64_t read_from(qcow_image* image, std::uint8_t* into, std::size_t size, std::int64_t offset, void* /*error*/) {
    return image->read(static_cast<std::uint64_t>(offset), {into, size}) ? static_cast<std::int64_t>(size) : -1;
}

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

}  // namespace

opened_medium open_qcow(const std::string& path) {
    std::vector<std::unique_ptr<qcow_image>> chain;
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
        auto file = std::make_unique<qcow_image>();
        std::uint64_t own_size = 0;
        if (!file->open(next) || libqcow_file_get_media_size(file->file(), &own_size, nullptr) != 1 || own_size == 0) {
            return refused("it is damaged or cut short");
        }
        if (chain.empty()) {
            cluster = own_cluster;
            size = own_size;
        } else if (own_size < size || libqcow_file_set_parent_file(chain.back()->file(), file->file(), nullptr) != 1) {
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
    return {std::make_unique<chain_medium<std::unique_ptr<qcow_image>, read_from>>(std::move(chain), size,
                                                                                   std::max(cluster, smallest_read)),
            laid_over_each_other(std::move(tables), false),
            {}};
}
