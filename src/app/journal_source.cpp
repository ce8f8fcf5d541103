#include "app/journal_source.h"

#include "app/argument_list.h"
#include "platform/platform.h"
#include "storage/containers/container.h"
#include "storage/volume_names.h"

namespace {

journal_source source_of_partition(const std::string& value) {
    journal_source source;
    source.typed = source.path = value;
    source.mode = reader_mode_of(value);
    if (is_device_path(value)) {
        source.kind = source_kind::device_path;
    } else {
        source.kind = source_kind::live_volume;
        source.journal_path = value.substr(0, 1) + ":";
    }
    source.journal_path += journal_on_volume;
    return source;
}

}  // namespace

journal_source source_named(std::string_view option, const std::string& value) {
    if (option == "-partition") return source_of_partition(value);
    if (option == "-vss") {
        return {source_kind::device_path, value, shadow_copy_path(value),
                reader_mode::device_path, 0,     std::string(journal_on_volume)};
    }
    if (option == "-image") {
        const std::string_view from_root = journal_on_volume.substr(1);
        return {source_kind::image, value, value, reader_mode::image_file, 0, std::string(from_root)};
    }
    const std::string path = expand_env_path(value);
    return {source_kind::extracted_file, value, path, reader_mode::image_file, 0, path};
}

journal_source live_volume_behind(const journal_source& file) {
    if (!is_volume_journal_path(file.path)) return {};
    journal_source volume = file;
    volume.kind = source_kind::live_volume;
    volume.path = file.path.substr(0, 1);
    volume.mode = reader_mode_of(volume.path);
    return volume;
}

std::vector<std::string> nodes_of(const journal_source& source) {
    switch (source.kind) {
        case source_kind::image: {
            std::vector<std::string> nodes = files_of_image(source.path);
            nodes.push_back(platform::device_node(source.path));
            return nodes;
        }
        case source_kind::device_path: return {platform::device_node(source.path)};
        case source_kind::live_volume:
            return {platform::device_node(is_drive_letter_form(source.path) ? live_volume_path(source.path.front())
                                                                            : source.path)};
        case source_kind::extracted_file: break;
    }
    std::vector<std::string> nodes{source.path};
    if (const journal_source volume = live_volume_behind(source); !volume.path.empty()) {
        nodes.push_back(platform::device_node(live_volume_path(volume.path.front())));
    }
    return nodes;
}
