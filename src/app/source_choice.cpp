#include "app/source_choice.h"

#include "app/usage.h"
#include "app/volume_opening.h"
#include "output/output_file.h"
#include "platform/platform.h"
#include "storage/volume_offset.h"

#include <utility>

namespace {

constexpr const char* restart_hint = "need to restart cmd prompt using \"Run As Administrator\" option...\n";

using choice = std::optional<opened_source>;

// On standard output, where this has always been said.
choice refuse_partition(uni::status_line& status) {
    uni::output_file standard_output;
    standard_output.use_standard_output();
    const std::string text = std::string("command prompt not running w/ admin privileges...\n") + restart_hint;
    if (!standard_output.append_text(text)) status.report_problem("prob writing to standard output\n");
    return std::nullopt;
}

choice refuse_shadow_copy(uni::status_line& status) {
    status.report_problem("This option requires admin privileges...\n");
    status.report_problem("%s", restart_hint);
    return std::nullopt;
}

choice choose_volume(journal_source source, const usnjrnl_context& settings, const run_console& console) {
    bool mft_damaged = false;
    auto volume = open_volume(source, settings.reading.rebuild_mft, console, mft_damaged);
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
    if (conflict == nullptr) return opened_source{std::move(source), nullptr};
    status.report_problem("%s cannot be used with -file option\n", conflict);
    return std::nullopt;
}

// With an offset on the command line the user sees every message, without one only those of a failure.
bool find_volume_in_image(const std::string& path, bool whole_volume_needed, std::int64_t& offset,
                          uni::status_line& status) {
    std::string messages;
    bool found = false;
    if (offset != 0) {
        const bool selected = select_volume_offset(messages, path, offset, !whole_volume_needed, found);
        status.say(messages);
        return selected;
    }
    if (select_volume_offset(messages, path, offset, false, found)) return true;
    if (offset == 0 && found) return true;  // a bare volume that the image does not wholly hold
    status.say(messages + "\n");
    return false;
}

choice choose_image(journal_source source, argument_list& arguments, uni::status_line& status) {
    std::string typed_offset;
    std::int64_t offset = 0;
    if (option_value("-offset", typed_offset, arguments)) offset = parse_number(typed_offset);
    const bool whole_volume_needed = !option_flag("-ignore_image_size", arguments);
    if (!find_volume_in_image(source.path, whole_volume_needed, offset, status)) return std::nullopt;
    source.volume_offset = static_cast<std::uint64_t>(offset);
    return opened_source{std::move(source), nullptr};
}

}  // namespace

choice choose_source(argument_list& arguments, const usnjrnl_context& settings, const run_console& console) {
    for (const std::string_view option : source_options) {
        std::string value;
        if (!option_value(option, value, arguments)) continue;
        if (option == "-partition" && !platform::elevated()) return refuse_partition(console.status);
        if (option == "-vss" && !platform::elevated()) return refuse_shadow_copy(console.status);
        journal_source source = source_named(option, value);
        switch (source.kind) {
            case source_kind::image: return choose_image(std::move(source), arguments, console.status);
            case source_kind::extracted_file: return choose_file(std::move(source), settings.reading, console.status);
            case source_kind::live_volume:
            case source_kind::device_path: return choose_volume(std::move(source), settings, console);
        }
    }
    print_usage(console.status);
    return std::nullopt;
}
