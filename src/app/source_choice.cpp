#include "app/source_choice.h"

#include "app/unlisted_volume.h"
#include "app/usage.h"
#include "app/volume_opening.h"
#include "ntfs/ntfs_volume.h"
#include "output/output_file.h"
#include "platform/platform.h"
#include "storage/container_signature.h"
#include "storage/partitions.h"
#include "storage/volume_names.h"

#include <array>

namespace {

constexpr std::string_view restart_hint = "need to restart cmd prompt using \"Run As Administrator\" option...\n";

// Opened once to see that it is NTFS; the run opens it anew, unless a long scan would have to be made again.
bool validate_volume(usnjrnl_context& settings, uni::status_line& status, const diagnostic_log& log) {
    bool mft_damaged = false;
    auto volume = open_volume_at(settings.volume_path, reader_mode_of(settings.volume_path), 0, settings, status, log,
                                 mft_damaged);
    if (volume != nullptr) {
        if (settings.rebuild_mft) settings.rebuilt_volume = std::move(volume);
        return true;
    }
    status.report_problem("prob validating volume %s as a NTFS partition, aborting...\n", settings.volume_path.c_str());
    report_damaged_mft(mft_damaged, status);
    return false;
}

bool choose_partition(const std::string& value, usnjrnl_context& settings, uni::status_line& status,
                      const diagnostic_log& log) {
    if (!platform::elevated()) {
        uni::output_file standard_output;
        standard_output.use_standard_output();
        std::string text = "command prompt not running w/ admin privileges...\n";
        text += restart_hint;
        if (!standard_output.append_text(text)) status.report_problem("prob writing to standard output\n");
        // In a pipe or file nobody looks for the reason.
        if (!platform::is_terminal(platform::standard_stream::output)) {
            status.report_problem("prob opening %s, admin privileges needed\n", value.c_str());
        }
        return false;
    }
    settings.volume_path = value;
    if (is_device_path(value)) {
        settings.source = source_kind::device_path;
        settings.journal_path = journal_on_volume;
    } else {
        settings.source = source_kind::live_volume;
        settings.journal_path = value.substr(0, 1) + ":";
        settings.journal_path += journal_on_volume;
    }
    return validate_volume(settings, status, log);
}

bool choose_shadow_copy(const std::string& index, usnjrnl_context& settings, uni::status_line& status,
                        const diagnostic_log& log) {
    if (!platform::elevated()) {
        status.report_problem("This option requires admin privileges...\n");
        status.report_problem("%s", std::string(restart_hint).c_str());
        return false;
    }
    settings.volume_path = shadow_copy_path(index);
    settings.source = source_kind::device_path;
    settings.journal_path = journal_on_volume;
    return validate_volume(settings, status, log);
}

bool choose_file(const std::string& value, usnjrnl_context& settings, uni::status_line& status) {
    const char* conflict = settings.include_unalloc ? "-include_unalloc_clusters"
                           : settings.include_vss   ? "-include_vss_clusters"
                           : settings.include_slack ? "-include_mft_slack_space"
                                                    : nullptr;
    if (conflict != nullptr) {
        status.report_problem("%s cannot be used with -file option\n", conflict);
        return false;
    }
    settings.source = source_kind::extracted_file;
    settings.journal_path = expand_env_path(value);
    if (!settings.journal_path.empty()) return true;
    status.report_problem("prob -file names no file\n");
    return false;
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

// With an offset on the command line the user sees every message, without one only those of a failure.
bool find_volume_in_image(bool whole_volume_needed, usnjrnl_context& settings, uni::status_line& status,
                          const diagnostic_log& log) {
    const std::int64_t asked = settings.volume_offset;
    std::string messages;
    bool found = false;
    bool selected = select_volume_offset(messages, settings.image_path, settings.volume_offset,
                                         asked != 0 && !whole_volume_needed, found);
    const bool cut = found && settings.volume_offset == asked;  // the place is right, the image ends too early
    if (asked == 0) {
        if (selected || cut) return true;
        messages += "\n";
    } else if (!selected && !cut) {
        selected = take_unlisted_volume(asked, whole_volume_needed, messages, settings, status, log);
    }
    status.say(messages);
    return selected;
}

bool choose_image(const std::string& value, argument_list& arguments, usnjrnl_context& settings,
                  uni::status_line& status, const diagnostic_log& log) {
    settings.source = source_kind::image;
    std::string offset;
    if (option_value("-offset", offset, arguments)) settings.volume_offset = parse_number(offset);
    settings.journal_path = journal_on_volume.substr(1);  // relative to the root of the volume in the image
    settings.image_path = value;
    const bool whole_volume_needed = !option_flag("-ignore_image_size", arguments);
    return !refuse_container(value, status) && find_volume_in_image(whole_volume_needed, settings, status, log);
}

}  // namespace

bool choose_source(argument_list& arguments, usnjrnl_context& settings, uni::status_line& status,
                   const diagnostic_log& log) {
    std::string& value = settings.source_text;
    if (option_value("-partition", value, arguments)) return choose_partition(value, settings, status, log);
    if (option_value("-vss", value, arguments)) return choose_shadow_copy(value, settings, status, log);
    if (option_value("-file", value, arguments)) return choose_file(value, settings, status);
    if (option_value("-image", value, arguments)) return choose_image(value, arguments, settings, status, log);
    print_usage(status);
    return false;
}
