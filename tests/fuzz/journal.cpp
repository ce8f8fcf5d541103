// The walk over a journal's bytes, the decoders, and every layout over what they yield.
#include "fuzz_support.h"

#include "journal/gathered_history.h"
#include "journal/journal_walk.h"
#include "journal/path_resolution.h"

#include <array>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::array<usnjrnl_context, 16> layouts{
        settings_from({"lorq", "-a"}),
        settings_from({"lorq", "-csv", "-show_offset"}),
        settings_from({"lorq", "-csvgen", "-base10", "-pair_datetime"}),
        settings_from({"lorq", "-a", "-csvl2t", "-show_dir_path", "-timeformat", "hh:mm:ss.xxxxxxxxx"}),
        settings_from({"lorq", "-bodyfile", "-from", "1970-01-01T00:00:00.5Z", "-find", "*a?*"}),
        settings_from({"lorq", "-a", "-xml", "-show_dir_path", "-pulltimes"}),
        settings_from({"lorq", "-a", "-xml", "-xml_escape", "-show_offset"}),
        settings_from({"lorq", "-a", "-jsonl", "-unique", "-show_offset", "-hostname", "\xE2\x80"}),
        settings_from({"lorq", "-multiline", "-no_whitespace"}),
        settings_from({"lorq", "-complete", "-a", "-csv_separator", "; "}),
        settings_from({"lorq", "-complete", "-a", "-xml", "-show_dir_path"}),
        settings_from({"lorq", "-complete", "-csvl2t", "-show_dir_path"}),
        settings_from({"lorq", "-complete", "-a", "-csv", "-timeformat", "hh:mm:ss.xxxxxxxxx"}),
        settings_from({"lorq", "-complete", "-bodyfile"}),
        settings_from({"lorq", "-a", "-csv", "-path_history"}),
        settings_from({"lorq", "-bodyfile", "-path_history"})};
    fuzz_input in(data, size);
    const auto kind = in.number<std::uint8_t>();
    const bool by_pages = kind % 2 == 0;  // as of a file; of a volume by larger chunks
    const bool with_history = (kind & 4U) != 0;
    run_meter meter;
    journal_intake intake(meter, (kind & 2U) != 0);
    if (with_history) intake.gather_history();
    intake.records().number_pairs();
    for (std::uint64_t at = 0; !in.empty();) {
        const auto piece = in.take(by_pages ? journal_page_size : 4 * journal_page_size);
        const bytes chunk(piece.begin(), piece.end());
        intake.walk(byte_view(chunk, at));
        at += chunk.size();
    }
    if (with_history) resolve_past_paths(intake.records(), intake.take_history(), intake.complete());
    for (const usnjrnl_context& layout : layouts) write_all(layout, intake);
    return 0;
}
