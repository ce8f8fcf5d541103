#include "app/source_choice.h"

#include "app/usage.h"
#include "app/volume_opening.h"
#include "ntfs/ntfs_volume.h"
#include "output/output_file.h"
#include "platform/platform.h"
#include "storage/volume_names.h"
#include "storage/volume_offset.h"

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
    return true;
}

// With an offset on the command line the user sees every message, without one only those of a failure.
bool find_volume_in_image(bool whole_volume_needed, usnjrnl_context& settings, uni::status_line& status) {
    std::string messages;
    bool found = false;
    if (settings.volume_offset != 0) {
        const bool selected =
            select_volume_offset(messages, settings.image_path, settings.volume_offset, !whole_volume_needed, found);
        status.say(messages);
        return selected;
    }
    if (select_volume_offset(messages, settings.image_path, settings.volume_offset, false, found)) return true;
    if (settings.volume_offset == 0 && found) return true;  // a bare volume that the image does not wholly hold
    status.say(messages + "\n");
    return false;
}

bool choose_image(const std::string& value, argument_list& arguments, usnjrnl_context& settings,
                  uni::status_line& status) {
    settings.source = source_kind::image;
    std::string offset;
    if (option_value("-offset", offset, arguments)) settings.volume_offset = parse_number(offset);
    settings.journal_path = journal_on_volume.substr(1);  // relative to the root of the volume in the image
    settings.image_path = value;
    const bool whole_volume_needed = !option_flag("-ignore_image_size", arguments);
    return find_volume_in_image(whole_volume_needed, settings, status);
}

}  // namespace

bool choose_source(argument_list& arguments, usnjrnl_context& settings, uni::status_line& status,
                   const diagnostic_log& log) {
    std::string& value = settings.source_text;
    if (option_value("-partition", value, arguments)) return choose_partition(value, settings, status, log);
    if (option_value("-vss", value, arguments)) return choose_shadow_copy(value, settings, status, log);
    if (option_value("-file", value, arguments)) return choose_file(value, settings, status);
    if (option_value("-image", value, arguments)) return choose_image(value, arguments, settings, status);
    print_usage(status);
    return false;
}
