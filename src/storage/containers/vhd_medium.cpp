#include "storage/containers/chain_medium.h"
#include "storage/containers/container_files.h"
#include "storage/containers/disk_fields.h"
#include "storage/containers/media.h"
#include "storage/partitions.h"

#include "platform/platform.h"

#include <libvhdi.h>

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t longest_name = 4096;  // bytes

struct vhd_closer {
    void operator()(libvhdi_file_t* file) const {
        (void)libvhdi_file_close(file, nullptr);
        (void)libvhdi_file_free(&file, nullptr);
    }
};

using vhd_file = std::unique_ptr<libvhdi_file_t, vhd_closer>;

// The library has one function for the names of each kind of system.
[[nodiscard, maybe_unused]] bool open_disk(libvhdi_file_t* file, const std::string& path) {
    return libvhdi_file_open(file, path.c_str(), LIBVHDI_OPEN_READ, nullptr) == 1;
}
#ifdef LIBVHDI_HAVE_WIDE_CHARACTER_TYPE
[[nodiscard, maybe_unused]] bool open_disk(libvhdi_file_t* file, const std::wstring& path) {
    return libvhdi_file_open_wide(file, path.c_str(), LIBVHDI_OPEN_READ, nullptr) == 1;
}
#endif

vhd_file open_file(const std::string& path) {
    libvhdi_file_t* file = nullptr;
    if (libvhdi_file_initialize(&file, nullptr) != 1) return nullptr;
    vhd_file owned(file);
    return open_disk(file, platform::native_path(path)) ? std::move(owned) : nullptr;
}

// The library tells the place on the machine that the disk was made on before that beside the image.
std::string parent_name(const std::string& path, libvhdi_file_t* file) {
    disk_reader image;
    vhdx_layout layout;
    if (image.open(path, reader_mode::image_file) && read_vhdx_layout(image, layout) && !layout.parent.empty()) {
        return layout.parent;
    }
    std::size_t size = 0;
    if (libvhdi_file_get_utf8_parent_filename_size(file, &size, nullptr) != 1 || size <= 1 || size > longest_name) {
        return {};
    }
    std::vector<std::uint8_t> name(size);
    if (libvhdi_file_get_utf8_parent_filename(file, name.data(), size, nullptr) != 1) return {};
    return {name.begin(), std::ranges::find(name, std::uint8_t{0})};
}

bool is_differential(libvhdi_file_t* file) {
    std::uint32_t type = 0;
    return libvhdi_file_get_disk_type(file, &type, nullptr) == 1 && type == LIBVHDI_DISK_TYPE_DIFFERENTIAL;
}

bool has_pending_log(const std::string& path) {
    disk_reader file;
    std::vector<std::uint8_t> bytes;
    return file.open(path, reader_mode::image_file) && read_whole(file, 0, 8, bytes) &&
           holds_text(byte_view(bytes), 0, "vhdxfile") && read_vhdx_headers(file) == vhdx_headers::log_pending;
}

}  // namespace

std::string vhd_parent_name(const std::string& path) {
    const vhd_file file = open_file(path);
    return file != nullptr && is_differential(file.get()) ? parent_name(path, file.get()) : std::string{};
}

opened_medium open_vhd(const std::string& path) {
    std::vector<vhd_file> chain;
    std::vector<std::unique_ptr<allocation>> tables;
    std::uint64_t size = 0;
    for (std::string next = path;;) {
        if (chain.size() == longest_chain) return refused("its chain of parents is too long");
        vhd_file file = open_file(next);
        if (file == nullptr) return refused(next == path ? "it is damaged" : "its parent " + next + " cannot be read");
        if (has_pending_log(next)) return refused("it was not closed, its log has to be applied to a copy first");
        // The library holds the parent's identifier against what the child wants.
        if (!chain.empty() && libvhdi_file_set_parent_file(chain.back().get(), file.get(), nullptr) != 1) {
            return refused("its parent " + next + " is another image");
        }
        std::uint64_t own_size = 0;
        int type = 0;
        if (libvhdi_file_get_media_size(file.get(), &own_size, nullptr) != 1 || own_size == 0 ||
            libvhdi_file_get_file_type(file.get(), &type, nullptr) != 1) {
            return refused(next + " is damaged");
        }
        if (chain.empty()) size = own_size;
        tables.push_back(type == LIBVHDI_FILE_TYPE_VHDX ? read_vhdx_allocation(next, own_size)
                                                        : read_vhd_allocation(next, own_size));
        if (tables.back() == nullptr) return refused(next + " is damaged or cut short");
        chain.push_back(std::move(file));
        if (!is_differential(chain.back().get())) break;
        const std::string name = parent_name(next, chain.back().get());
        const std::optional<std::string> parent = file_beside(next, name);
        if (!parent) return refused_parent(name);
        next = *parent;
    }
    return {std::make_unique<chain_medium<vhd_file, libvhdi_file_read_buffer_at_offset>>(std::move(chain), size,
                                                                                         usual_chunk),
            laid_over_each_other(std::move(tables), true),
            {}};
}
