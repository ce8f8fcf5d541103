#include "app/source_choice.h"

#include "app/unlisted_volume.h"
#include "app/usage.h"
#include "app/volume_opening.h"
#include "output/output_file.h"
#include "platform/platform.h"
#include "storage/container_signature.h"
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
    auto volume = open_volume(source, settings.reading, console, mft_damaged);
    if (volume != nullptr) return opened_source{std::move(source), std::move(volume)};
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
    if (!source.path.empty()) return opened_source{std::move(source), nullptr};
    status.report_problem("prob -file names no file\n");
    return std::nullopt;
}

// In a container the sectors do not stand where they stood on the disk: what looks like a volume there is none.
bool refuse_container(const std::string& path, uni::status_line& status) {
    std::array<std::uint8_t, container_signature_size> bytes{};
    std::size_t got = 0;
    disk_reader reader;
    if (!reader.open(path, reader_mode::image_file) || !reader.read_at(0, bytes, got)) return false;
    const std::string format(container_format(byte_view(std::span(bytes).first(got))));
    if (format.empty()) return false;
    const bool mounted = format == "E01";
    const argument_list command = mounted ? argument_list{"ewfmount", path, "/mnt/e01"}
                                          : argument_list{"qemu-img", "convert", "-O", "raw", path, "raw.dd"};
    status.report_problem("prob %s is not raw but %s; to read it: %s, then -image %s\n", path.c_str(), format.c_str(),
                          join_arguments(command, '"').c_str(), mounted ? "/mnt/e01/ewf1" : "raw.dd");
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
    if (refuse_container(source.path, console.status)) return std::nullopt;
    std::string messages;
    bool found = false;
    std::int64_t offset = asked.offset;
    const bool any_size = offset != 0 && !asked.whole_volume_needed;
    const auto sectors = settings.reading.complete ? table_sectors::by_content : table_sectors::by_signature;
    const bool selected = select_volume_offset(messages, source.path, offset, any_size, found, sectors);
    const bool cut = found && offset == asked.offset;  // the place is right, the image ends too early
    source.volume_offset = static_cast<std::uint64_t>(offset);
    opened_source opened{std::move(source), nullptr};
    if (asked.offset == 0) {
        if (selected || cut) return opened;
        messages += "\n";
    } else if (!selected && !cut) {
        opened.source.volume_offset = static_cast<std::uint64_t>(asked.offset);  // a negative one is behind every image
        opened.volume =
            open_unlisted_volume(opened.source, asked.whole_volume_needed, messages, settings.reading, console);
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
