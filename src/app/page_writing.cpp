#include "app/page_writing.h"

#include "journal/journal_limits.h"
#include "report/gathering.h"
#include "report/page.h"

#include <limits>

namespace {

// Of those that say which records a table has.
std::string options_that_do_not_count(const uni::layout_settings& layout) {
    std::string out;
    const auto add = [&out](bool given, std::string_view option) {
        if (!given) return;
        if (!out.empty()) out += ", ";
        out += option;
    };
    const uni::record_choice& choice = layout.choice;
    add(choice.from != uni::record_choice{}.from, "-from");
    add(choice.to != uni::record_choice{}.to, "-to");
    add(!choice.names.empty() || !choice.paths.empty(), "-find");
    add(!layout.closed_only, "-a");
    return out;
}

std::string origin_of_mft(const pulled_source& source, const reading_settings& asked) {
    const ntfs_volume* const mft = source.mft();
    if (mft == nullptr) return {};
    if (source.mft_file != nullptr) return "exported, " + asked.mft_file_path;
    return asked.rebuild_mft ? "of the volume, put together from records found on it" : "of the volume";
}

}  // namespace

std::string make_page(std::string_view run_header, const usnjrnl_context& settings, const pulled_source& source,
                      const journal_intake& intake, const run_console& console) {
    const in_phase now(console.meter, phase::report);
    ntfs_volume* const mft = source.mft() != nullptr && source.mft()->mount() ? source.mft() : nullptr;
    report::run_facts facts{.run_header = std::string(run_header),
                            .source = source.typed,
                            .source_size = source.size,
                            .lost_bytes = intake.lost_bytes(),
                            .mft = mft != nullptr ? origin_of_mft(source, settings.reading) : std::string(),
                            .options_that_do_not_count = options_that_do_not_count(settings.layout),
                            .past_paths = settings.reading.path_history,
                            .has_volume = source.volume != nullptr};
    if (source.volume != nullptr) facts.limits = limits_of_journal(*source.volume);
    const report::findings found =
        report::gather(std::move(facts), intake.records(), mft, console.meter, console.shown);
    std::string page = report::page_of(found);
    console.meter.count(phase::report, intake.records().size(), page.size());
    return page;
}
