#include "app/source_choice.h"

#include "app/unlisted_volume.h"
#include "app/usage.h"
#include "app/volume_opening.h"
#include "output/output_file.h"
#include "platform/platform.h"
#include "storage/containers/container.h"
#include "storage/partitions.h"

#include <utility>

namespace {

constexpr const char* restart_hint = "need to restart cmd prompt using \"Run As Administrator\" option...\n";

using choice = std::optional<opened_source>;

// kept: of the two refusals one stands on standard output.
choice refuse_partition(const std::string& value, uni::status_line& status) {
    uni::output_file standard_output;
    standard_output.use_standard_output();
    const std::string text = std::string("command prompt not running w/ admin privileges...\n") + restart_hint;
    if (!standard_output.append_text(text)) status.report_problem("prob writing to standard output\n");
    // In a pipe or file nobody looks for the reason.
    if (!platform::is_terminal(platform::standard_stream::output)) {
        status.report_problem("prob opening %s, admin privileges needed\n", value.c_str());
    }
    return std::nullopt;
}

choice refuse_shadow_copy(uni::status_line& status) {
    status.report_problem("This option requires admin privileges...\n");
    status.report_problem("%s", restart_hint);
    return std::nullopt;
}

choice choose_volume(journal_source source, const usnjrnl_context& settings, const run_console& console) {
    bool mft_damaged = false;
    auto volume = open_volume(source, {}, settings.reading, console, mft_damaged);
    if (volume != nullptr) return opened_source{std::move(source), {}, std::move(volume)};
    console.status.report_problem("prob validating volume %s as a NTFS partition, aborting...\n", source.path.c_str());
    report_damaged_mft(mft_damaged, console.status);
    return std::nullopt;
}

choice choose_file(journal_source source, const reading_settings& asked, uni::status_line& status) {
    // kept: the third name is not that of the option.
    const char* conflict = asked.include_unalloc ? "-include_unalloc_clusters"
                           : asked.include_vss   ? "-include_vss_clusters"
                           : asked.include_slack ? "-include_mft_slack_space"
                                                 : nullptr;
    if (conflict != nullptr) {
        status.report_problem("%s cannot be used with -file option\n", conflict);
        return std::nullopt;
    }
    if (!source.path.empty()) return opened_source{std::move(source), {}, nullptr};
    status.report_problem("prob -file names no file\n");
    return std::nullopt;
}

void refuse_container(const std::string& path, const container_format& format, uni::status_line& status) {
    const std::string name(format.name);
    if (format.reader == container_reader::none) {
        status.report_problem("prob %s is %s, which is not read\n", path.c_str(), name.c_str());
        return;
    }
    const bool mounted = format.reader == container_reader::ewf;
    const argument_list command = mounted ? argument_list{"ewfmount", path, "/mnt/e01"}
                                          : argument_list{"qemu-img", "convert", "-O", "raw", path, "raw.dd"};
    status.report_problem("prob %s is %s, which this build does not read; to read it: %s, then -image %s\n",
                          path.c_str(), name.c_str(), join_arguments(command, '"').c_str(),
                          mounted ? "/mnt/e01/ewf1" : "raw.dd");
}

// False when the run must end; the reason was told. An image that cannot be opened stays closed.
bool open_image(const std::string& path, disk_reader& image, uni::status_line& status) {
    std::array<std::uint8_t, container_signature_size> bytes{};
    std::size_t got = 0;
    if (!image.open(path, reader_mode::image_file) || !image.read_at(0, bytes, got)) return true;
    const container_format format = container_format_of(byte_view(std::span(bytes).first(got)));
    if (format.name.empty()) return true;
    if (!build_reads(format.reader)) {
        refuse_container(path, format, status);
        return false;
    }
    opened_container opened = open_container(path, format);
    const bool refused = opened.source == nullptr;
    if (!opened.told.empty()) {
        status.report_problem("prob %s is %s that cannot be read%s: %s\n", path.c_str(),
                              std::string(format.name).c_str(), refused ? "" : " whole", opened.told.c_str());
    }
    if (refused) return false;
    image.open(std::move(opened.source));
    // Where that is lost nothing else would tell why there are no partitions.
    if (!image.read_at(0, bytes, got)) status.report_problem("prob reading disk at offset 0\n");
    return true;
}

struct image_options {
    std::int64_t offset = 0;
    bool whole_volume_needed = true;
};

image_options take_image_options(argument_list& arguments) {
    image_options taken;
    std::string offset;
    if (option_value("-offset", offset, arguments)) taken.offset = parse_number(offset);
    taken.whole_volume_needed = !option_flag("-ignore_image_size", arguments);
    return taken;
}

// With an offset on the command line the user sees every message, without one only those of a failure.
choice choose_image(journal_source source, const image_options& asked, const usnjrnl_context& settings,
                    const run_console& console) {
    disk_reader image;
    if (!open_image(source.path, image, console.status)) return std::nullopt;
    std::string messages;
    bool found = false;
    std::int64_t offset = asked.offset;
    const bool any_size = offset != 0 && !asked.whole_volume_needed;
    const auto sectors = settings.reading.complete ? table_sectors::by_content : table_sectors::by_signature;
    bool selected = false;
    if (image.is_open()) {
        selected = select_volume_offset(messages, image, offset, any_size, found, sectors);
    } else {
        messages = "invalid image: " + source.path + "\n";
    }
    const bool cut = found && offset == asked.offset;  // the place is right, the image ends too early
    source.volume_offset = static_cast<std::uint64_t>(offset);
    opened_source opened{std::move(source), std::move(image), nullptr};
    if (asked.offset == 0) {
        if (selected || cut) return opened;
        messages += "\n";
    } else if (!selected && !cut) {
        opened.source.volume_offset = static_cast<std::uint64_t>(asked.offset);  // a negative one is behind every image
        opened.volume = open_unlisted_volume(opened.source, std::move(opened.image), asked.whole_volume_needed,
                                             messages, settings.reading, console);
    }
    console.status.say(messages);
    return selected || opened.volume != nullptr ? choice(std::move(opened)) : std::nullopt;
}

}  // namespace

choice choose_source(argument_list& arguments, const usnjrnl_context& settings, const run_console& console) {
    for (const std::string_view option : source_options) {
        std::string value;
        if (!option_value(option, value, arguments)) continue;
        if (option == "-partition" && !platform::elevated()) return refuse_partition(value, console.status);
        if (option == "-vss" && !platform::elevated()) return refuse_shadow_copy(console.status);
        journal_source source = source_named(option, value);
        switch (source.kind) {
            case source_kind::image:
                return choose_image(std::move(source), take_image_options(arguments), settings, console);
            case source_kind::extracted_file: return choose_file(std::move(source), settings.reading, console.status);
            case source_kind::live_volume:
            case source_kind::device_path: return choose_volume(std::move(source), settings, console);
        }
    }
    print_usage(console.status);
    return std::nullopt;
}
