#include "app/source_choice.h"

#include "app/source_names.h"
#include "app/usage.h"
#include "output/output_file.h"
#include "platform/platform.h"

namespace {

constexpr std::string_view restart_hint = "need to restart cmd prompt using \"Run As Administrator\" option...\n";

bool refuse_volumes(uni::status_line& status) {
    status.report_problem("prob this build cannot read volumes yet, aborting\n");
    return false;
}

bool choose_partition(const std::string& value, usnjrnl_context& settings, uni::status_line& status) {
    if (!platform::elevated()) {
        uni::output_file standard_output;
        standard_output.use_standard_output();
        std::string text = "command prompt not running w/ admin privileges...\n";
        text += restart_hint;
        if (!standard_output.append_text(text)) status.report_problem("prob writing to standard output\n");
        return false;
    }
    settings.volume_path = value;
    if (value.empty()) {
        status.report_problem("prob validating volume %s as a NTFS partition, aborting...\n", value.c_str());
        return false;
    }
    if (is_device_path(value)) {
        settings.source = source_kind::device_path;
        settings.journal_path = journal_on_volume;
    } else {
        settings.source = source_kind::live_volume;
        settings.journal_path = std::string(1, value.front()) + ":";
        settings.journal_path += journal_on_volume;
    }
    return refuse_volumes(status);
}

bool choose_shadow_copy(const std::string& index, usnjrnl_context& settings, uni::status_line& status) {
    if (!platform::elevated()) {
        status.report_problem("This option requires admin privileges...\n");
        status.report_problem("%s", std::string(restart_hint).c_str());
        return false;
    }
    settings.volume_path = shadow_copy_path(index);
    settings.source = source_kind::device_path;
    settings.journal_path = journal_on_volume;
    return refuse_volumes(status);
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

bool choose_image(const std::string& value, argument_list& arguments, usnjrnl_context& settings,
                  uni::status_line& status) {
    settings.source = source_kind::image;
    std::string offset;
    if (option_value("-offset", offset, arguments)) settings.volume_offset = parse_number(offset);
    settings.journal_path = journal_on_volume.substr(1);  // relative to the root of the volume in the image
    settings.image_path = value;
    return refuse_volumes(status);
}

}  // namespace

bool choose_source(argument_list& arguments, usnjrnl_context& settings, uni::status_line& status) {
    std::string value;
    if (option_value("-partition", value, arguments)) return choose_partition(value, settings, status);
    if (option_value("-vss", value, arguments)) return choose_shadow_copy(value, settings, status);
    if (option_value("-file", value, arguments)) return choose_file(value, settings, status);
    if (option_value("-image", value, arguments)) return choose_image(value, arguments, settings, status);
    print_usage(status);
    return false;
}
