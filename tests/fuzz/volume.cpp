// A whole run over a small volume in memory: mount or rebuild, journal, all three carving passes, paths, one layout.
// An input says which volume and which options, then what to change on the volume: places and the bytes that go there.
#include "fuzz_support.h"
#include "seed_volume.h"

#include "app/run_driver.h"
#include "journal/gathered_history.h"
#include "journal/path_resolution.h"
#include "journal/volume_journal.h"
#include "ntfs/mft_rebuild.h"

namespace {

constexpr std::size_t most_page_bytes = 2'000'000;

const ntfs_image_builder& seed_volume() {
    static const ntfs_image_builder made = seed::volume();
    return made;
}

// Where numbers decide what is done: boot sector, records, index blocks, bitmap, catalog, journal. Or anywhere.
std::size_t place_of(std::uint32_t choice) {
    constexpr std::uint64_t records[] = {0, 5, 6, 11, 12, 13, 14, 15, 16, 17, 24, 25, 26, 27, 40};
    constexpr std::size_t clusters[] = {190, 200, 220, 300, 310, 340, 350, 381, 400, 430, 450};
    const std::size_t which = choice / 8 % 32, behind = choice >> 8U;
    switch (choice % 8) {
        case 0: return 11 + behind % 62;
        case 1:
        case 2: return clusters[which % std::size(clusters)] * 512 + behind % 600;
        case 3: return behind;
        default: return seed_volume().offset_of_record(records[which % std::size(records)]) + behind % 400;
    }
}

bytes changed_image(fuzz_input& in) {
    bytes image = seed_volume().image;
    while (!in.empty()) {
        const auto choice = in.number<std::uint32_t>();
        const auto change = in.take(8);
        const std::size_t at = place_of(choice) % image.size();
        const std::size_t count = std::min({change.size(), std::size_t{1} + (choice >> 29U), image.size() - at});
        std::ranges::copy(change.first(count), image.data() + at);
    }
    return image;
}

std::unique_ptr<ntfs_volume> opened(const bytes& image, bool rebuilt, bool complete) {
    auto volume = std::make_unique<ntfs_volume>(fuzz_log());
    if (complete) volume->take_records(record_sizes::all);
    volume->open_volume(reader_over(image), 0);
    progress shown = shown_progress();
    const bool mounted = rebuilt ? rebuild_mft(*volume, shown) == rebuild_result::rebuilt : volume->mount();
    return mounted ? std::move(volume) : nullptr;
}

// As a run with -mftfile does: paths from the records alone.
void resolve_by_exported_mft(const bytes& image, ntfs_volume& source, const usnjrnl_context& settings) {
    const auto begin = image.begin() + static_cast<std::ptrdiff_t>(seed_volume().offset_of_record(0));
    ntfs_volume exported(fuzz_log());
    run_meter meter;
    progress shown = shown_progress();
    journal_intake intake(meter, settings.reading.complete);
    intake.records().number_pairs();
    if (settings.reading.path_history) intake.gather_history();
    if (exported.open_mft_file(reader_over({begin, begin + 48 * 1024})) &&
        read_volume_journal(source, intake, shown, [] {}) == journal_found::yes) {
        (void)resolve_journal_paths(intake.records(), exported,
                                    {settings.reading.pull_times, settings.reading.complete}, shown,
                                    intake.take_history());
    }
    write_all(settings, intake);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz_input in(data, size);
    const auto kind = in.number<std::uint32_t>();
    const usnjrnl_context settings = settings_of(kind);
    bytes image = changed_image(in);
    if ((kind & 1U << 31U) == 0) settle_sequences(image);
    const bool rebuilt = (kind & 1U << 30U) != 0;
    std::unique_ptr<ntfs_volume> volume = opened(image, rebuilt, settings.reading.complete);
    if (volume == nullptr) return 0;
    if ((kind & 1U << 29U) != 0) {
        resolve_by_exported_mft(image, *volume, settings);
        return 0;
    }
    uni::status_line status([](std::string_view) {});
    run_meter meter;
    progress shown = shown_progress();
    record_account account;
    run_outputs to{.records = &nowhere(), .page = nullptr, .run_header = "run\n"};
    if ((kind & 1U << 28U) != 0)
        to.page = [](std::string_view page) {
            if (page.size() >= most_page_bytes) std::abort();
            return true;
        };
    (void)run_driver(to, settings, {source_named("-image", ""), {}, std::move(volume)},
                     {status, fuzz_log(), meter, shown}, account);
    return 0;
}
