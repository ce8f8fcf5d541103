#include "storage/containers/container_files.h"

#include "storage/containers/big_endian.h"
#include "storage/containers/container.h"
#include "storage/containers/disk_fields.h"
#include "storage/containers/media.h"

#include "platform/platform.h"

#include <algorithm>
#include <span>

namespace {

constexpr std::size_t longest_name = 1023;  // bytes, of a backing file

void add_segments(const std::string& first, std::vector<std::string>& files) {
    constexpr std::uint32_t numbered = 99;
    for (std::uint32_t number = 2;; ++number) {
        std::string path = ewf_segment_path(first, number);
        const bool there = !path.empty() && platform::kind_of(path) != platform::path_kind::absent;
        if (there) files.push_back(std::move(path));
        // Behind one that is missing others may stand.
        else if (path.empty() || number > numbered)
            return;
    }
}

container_format format_of(const std::string& path) {
    std::vector<std::uint8_t> bytes(container_signature_size);
    std::size_t got = 0;
    disk_reader file;
    if (!file.open(path, reader_mode::image_file) || !file.read_at(0, bytes, got)) return {};
    return container_format_of(byte_view(std::span(bytes).first(got)));
}

// The files that one image of a chain names; `parent` is the next of the chain.
std::string add_named(const std::string& path, const container_format& format, std::vector<std::string>& files) {
    const auto beside = [&](const std::string& name) { return file_beside(path, name).value_or(std::string{}); };
    switch (format.reader) {
        case container_reader::ewf: add_segments(path, files); return {};
        case container_reader::qcow: return beside(qcow_backing_name(path));
#ifdef LORQ_HAS_VHDI
        case container_reader::vhd: return beside(vhd_parent_name(path));
#endif
        case container_reader::vmdk: {
            vmdk_descriptor descriptor;
            if (!read_vmdk_descriptor(path, descriptor)) return {};
            for (const vmdk_extent& extent : descriptor.extents) {
                if (std::string file = beside(extent.name); !file.empty() && !descriptor.embedded)
                    files.push_back(std::move(file));
            }
            return beside(descriptor.parent);
        }
        default: return {};
    }
}

}  // namespace

std::optional<std::string> file_beside(const std::string& image, std::string name) {
    for (const std::string_view here : {"./", ".\\"}) {
        if (name.starts_with(here)) name.erase(0, here.size());
    }
    if (name.empty() || name == "." || name == ".." || name.find_first_of("/\\:") != std::string::npos ||
        name.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    return image.substr(0, image.find_last_of("/\\") + 1) + name;
}

std::string qcow_backing_name(const std::string& path) {
    disk_reader file;
    std::vector<std::uint8_t> bytes;
    if (!file.open(path, reader_mode::image_file) || !read_whole(file, 0, qcow_header::cluster_bits, bytes)) return {};
    const auto at = big_endian<std::uint64_t>(byte_view(bytes), qcow_header::backing_offset);
    const auto length = big_endian<std::uint32_t>(byte_view(bytes), qcow_header::backing_length);
    if (at == 0 || length > longest_name || !read_whole(file, at, length, bytes)) return {};
    return {bytes.begin(), bytes.end()};
}

std::vector<std::string> files_of_image(const std::string& path) {
    std::vector<std::string> files;
    std::string one = path;
    for (std::size_t i = 0; i < longest_chain && !one.empty() && std::ranges::find(files, one) == files.end(); ++i) {
        files.push_back(one);
        one = add_named(one, format_of(one), files);
    }
    return files;
}
