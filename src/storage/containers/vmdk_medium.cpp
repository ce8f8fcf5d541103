#include "storage/containers/chain_medium.h"
#include "storage/containers/container_files.h"
#include "storage/containers/disk_fields.h"
#include "storage/containers/media.h"
#include "storage/partitions.h"

#include "platform/platform.h"

#include <libbfio.h>
#include <libvmdk.h>

#include <algorithm>
#include <utility>

namespace {

// The libraries have one function for the names of each kind of system.
[[nodiscard, maybe_unused]] bool open_descriptor(libvmdk_handle_t* handle, const std::string& path) {
    return libvmdk_handle_open(handle, path.c_str(), LIBVMDK_OPEN_READ, nullptr) == 1;
}
[[nodiscard, maybe_unused]] bool set_name(libbfio_handle_t* file, const std::string& path) {
    return libbfio_file_set_name(file, path.c_str(), path.size(), nullptr) == 1;
}
#ifdef LIBVMDK_HAVE_WIDE_CHARACTER_TYPE
[[nodiscard, maybe_unused]] bool open_descriptor(libvmdk_handle_t* handle, const std::wstring& path) {
    return libvmdk_handle_open_wide(handle, path.c_str(), LIBVMDK_OPEN_READ, nullptr) == 1;
}
[[nodiscard, maybe_unused]] bool set_name(libbfio_handle_t* file, const std::wstring& path) {
    return libbfio_file_set_name_wide(file, path.c_str(), path.size(), nullptr) == 1;
}
#endif

// A handle and the pool of its extents, which the library does not close.
class vmdk_file {
public:
    vmdk_file() = default;
    vmdk_file(vmdk_file&& other) noexcept
        : handle_(std::exchange(other.handle_, nullptr)), pool_(std::exchange(other.pool_, nullptr)) {}
    vmdk_file& operator=(vmdk_file&&) = delete;
    ~vmdk_file() {
        if (handle_ != nullptr) {
            (void)libvmdk_handle_close(handle_, nullptr);
            (void)libvmdk_handle_free(&handle_, nullptr);
        }
        if (pool_ != nullptr) {
            (void)libbfio_pool_close_all(pool_, nullptr);
            (void)libbfio_pool_free(&pool_, nullptr);
        }
    }

    // `extents`: the files of the extents, empty for one without.
    [[nodiscard]] bool open(const std::string& path, const std::vector<std::string>& extents) {
        // A limit above the number of files is one that the library fails under.
        const int limit = extents.size() > most_open_files ? static_cast<int>(most_open_files) : 0;
        if (libvmdk_handle_initialize(&handle_, nullptr) != 1 ||
            !open_descriptor(handle_, platform::native_path(path)) ||
            libbfio_pool_initialize(&pool_, static_cast<int>(extents.size()), limit, nullptr) != 1) {
            return false;
        }
        for (std::size_t i = 0; i < extents.size(); ++i) {
            if (!extents[i].empty() && !add(static_cast<int>(i), extents[i])) return false;
        }
        return libvmdk_handle_open_extent_data_files_file_io_pool(handle_, pool_, nullptr) == 1;
    }

    [[nodiscard]] libvmdk_handle_t* get() const { return handle_; }

private:
    [[nodiscard]] bool add(int entry, const std::string& path) {
        libbfio_handle_t* file = nullptr;
        if (libbfio_file_initialize(&file, nullptr) != 1) return false;
        if (set_name(file, platform::native_path(path)) &&
            libbfio_pool_set_handle(pool_, entry, file, LIBBFIO_OPEN_READ, nullptr) == 1) {
            return true;
        }
        (void)libbfio_handle_free(&file, nullptr);
        return false;
    }

    libvmdk_handle_t* handle_ = nullptr;
    libbfio_pool_t* pool_ = nullptr;
};

// Why an extent cannot be read; empty when it can. Raises `chunk` to the grains of a sparse one.
std::string objection(const std::string& path, const vmdk_extent& extent, std::size_t& chunk) {
    disk_reader file;
    std::vector<std::uint8_t> signature;
    if (!file.open(path, reader_mode::image_file)) return path + " is missing";
    if (!read_whole(file, 0, vmdk_header::signature.size(), signature)) return path + " is cut short";
    const bool sparse = extent.type == "SPARSE";
    if (holds_text(byte_view(signature), 0, vmdk_header::signature) != sparse) return path + " is no such extent";
    if (!sparse) return {};
    vmdk_layout layout;
    if (!read_vmdk_layout(file, layout) || layout.capacity != extent.sectors) return path + " is damaged or cut short";
    chunk = std::max(chunk, static_cast<std::size_t>(layout.grain * vmdk_sector));
    return {};
}

std::string extent_files(const std::string& path, const vmdk_descriptor& descriptor, std::vector<std::string>& files,
                         std::size_t& chunk) {
    for (const vmdk_extent& extent : descriptor.extents) {
        files.emplace_back();
        if (extent.type == "ZERO") continue;
        const std::optional<std::string> file = descriptor.embedded ? path : file_beside(path, extent.name);
        if (!file) return "its extent " + extent.name + " does not lie beside it";
        if (std::string why = objection(*file, extent, chunk); !why.empty()) return why;
        files.back() = *file;
    }
    return {};
}

// Null when the tables of an extent are none that it can have.
std::unique_ptr<allocation> tables_of(const vmdk_descriptor& descriptor, const std::vector<std::string>& files) {
    std::vector<allocation_extent> extents;
    for (std::size_t i = 0; i < files.size(); ++i) {
        const vmdk_extent& extent = descriptor.extents[i];
        allocation_extent one{extent.sectors * vmdk_sector, extent.type == "ZERO", {}};
        if (extent.type == "SPARSE") {
            one.tables = read_vmdk_tables(files[i]);
            if (one.tables.block_size == 0) return nullptr;
        }
        extents.push_back(std::move(one));
    }
    return std::make_unique<allocation>(std::move(extents));
}

}  // namespace

opened_medium open_vmdk(const std::string& path) {
    std::vector<vmdk_file> chain;
    std::size_t chunk = usual_chunk;
    std::uint64_t size = 0;
    std::vector<std::unique_ptr<allocation>> tables;
    for (std::string next = path;;) {
        if (chain.size() == longest_chain) return refused("its chain of parents is too long");
        vmdk_descriptor descriptor;
        std::vector<std::string> files;
        if (!read_vmdk_descriptor(next, descriptor)) return refused(next + " has no descriptor that can be read");
        if (std::string why = extent_files(next, descriptor, files, chunk); !why.empty()) return refused(why);
        vmdk_file file;
        if (!file.open(next, files)) return refused(next + " is damaged or cut short");
        if (chain.empty()) {
            if (libvmdk_handle_get_media_size(file.get(), &size, nullptr) != 1 || size == 0) {
                return refused("it is damaged");
            }
        } else if (libvmdk_handle_set_parent_handle(chain.back().get(), file.get(), nullptr) != 1) {
            // The library holds the parent's identifier against what the child wants.
            return refused("its parent " + next + " is another image");
        }
        tables.push_back(tables_of(descriptor, files));
        if (tables.back() == nullptr) return refused(next + " is damaged or cut short");
        chain.push_back(std::move(file));
        if (descriptor.parent.empty()) break;
        const std::optional<std::string> parent = file_beside(next, descriptor.parent);
        if (!parent) return refused_parent(descriptor.parent);
        next = *parent;
    }
    return {
        std::make_unique<chain_medium<vmdk_file, libvmdk_handle_read_buffer_at_offset>>(std::move(chain), size, chunk),
        laid_over_each_other(std::move(tables), false),
        {}};
}
