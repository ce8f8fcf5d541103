// A whole run over a small volume in memory: mount or rebuild, journal, all three carving passes, paths, one layout.
// An input says which volume and which options, then what to change on the volume: units of a place and the bytes that
// go there. The mutator keeps to units, so that one change does not shift all others.
#include "fuzz_support.h"
#include "seed_volume.h"

#include "app/run_driver.h"
#include "journal/path_resolution.h"
#include "journal/volume_journal.h"
#include "ntfs/mft_rebuild.h"

#include <random>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

namespace {

constexpr std::size_t head_size = 4;
constexpr std::size_t unit_size = 12;  // u24 place, u8 count of the 8 bytes behind that go there

const ntfs_image_builder& seed_volume() {
    static const ntfs_image_builder made = seed::volume();
    return made;
}

bytes changed_image(fuzz_input& in) {
    bytes image = seed_volume().image;
    while (!in.empty()) {
        const auto head = in.number<std::uint32_t>();
        const auto change = in.take(8);
        const std::size_t at = (head & 0xFFFFFFU) % image.size();
        const std::size_t count = std::min({change.size(), std::size_t{1} + (head >> 24U) % 8, image.size() - at});
        std::ranges::copy(change.first(count), image.data() + at);
    }
    return image;
}

std::unique_ptr<ntfs_volume> opened(const bytes& image, bool rebuilt) {
    auto volume = std::make_unique<ntfs_volume>(fuzz_log());
    volume->open_volume(reader_over(image), 0);
    const bool mounted = rebuilt ? rebuild_mft(*volume, {}) == rebuild_result::rebuilt : volume->mount();
    return mounted ? std::move(volume) : nullptr;
}

// As a run with -mftfile does: paths from the records alone.
void resolve_by_exported_mft(const bytes& image, ntfs_volume& source, usnjrnl_context& run) {
    const auto begin = image.begin() + static_cast<std::ptrdiff_t>(seed_volume().offset_of_record(0));
    ntfs_volume exported(fuzz_log());
    journal_collection journal;
    journal.number_pairs();
    run.journal = &journal;
    run.show_dir_path = exported.open_mft_file(reader_over({begin, begin + 48 * 1024})) &&
                        read_volume_journal(source, run, [] {}) && resolve_journal_paths(run, exported);
    write_all(run);
}

// The places where numbers decide what is done: boot sector, records, index blocks, bitmap, catalog, journal.
std::uint32_t likely_place(std::minstd_rand& random) {
    const auto record = [&](std::uint64_t entry) {
        return static_cast<std::uint32_t>(seed_volume().offset_of_record(entry) + random() % 400);
    };
    constexpr std::uint64_t used[] = {0, 5, 6, 11, 12, 13, 14, 15, 16, 17, 24, 25, 26, 27, 40};
    constexpr std::uint32_t clusters[] = {190, 200, 220, 300, 310, 340, 350, 381, 400, 430, 450};
    switch (random() % 8) {
        case 0: return static_cast<std::uint32_t>(11 + random() % 62);
        case 1:
        case 2: return static_cast<std::uint32_t>(clusters[random() % std::size(clusters)] * 512 + random() % 600);
        default: return record(used[random() % std::size(used)]);
    }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed) {
    std::minstd_rand random(seed);
    size = std::max(size, head_size);
    const std::size_t units = (size - head_size) / unit_size;
    size = head_size + units * unit_size;
    std::uint8_t* const unit = data + head_size + (units == 0 ? 0 : random() % units * unit_size);
    const auto choice = random() % 16;
    if (choice == 0) {
        LLVMFuzzerMutate(data, head_size, head_size);
    } else if (choice == 1 && units != 0) {
        std::copy(unit + unit_size, data + size, unit);
        size -= unit_size;
    } else if ((choice < 8 || units == 0) && size + unit_size <= most) {
        std::uint8_t* const added = data + size;
        const std::uint32_t place = likely_place(random) | static_cast<std::uint32_t>(random() % 8 << 24U);
        std::memcpy(added, &place, sizeof place);
        constexpr std::uint64_t extremes[] = {0, 1, 0x7F, 0xFF, 0xFFFF, 0x7FFFFFFF, ~0ULL, 1ULL << 32U, 1ULL << 62U};
        const std::uint64_t value = random() % 2 == 0 ? extremes[random() % std::size(extremes)] : random() % 600;
        std::memcpy(added + 4, &value, sizeof value);
        size += unit_size;
    } else if (units != 0) {
        if (choice == 8) LLVMFuzzerMutate(unit, 4, 4);
        LLVMFuzzerMutate(unit + 4, 8, 8);
    }
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz_input in(data, size);
    const auto kind = in.number<std::uint32_t>();
    usnjrnl_context run = settings_of(kind);
    run.source = source_kind::image;
    bytes image = changed_image(in);
    if ((kind & 1U << 31U) == 0) settle_sequences(image);
    const bool rebuilt = (kind & 1U << 30U) != 0;
    std::shared_ptr<ntfs_volume> volume = opened(image, rebuilt);
    if (volume == nullptr) return 0;
    if ((kind & 1U << 29U) != 0) {
        resolve_by_exported_mft(image, *volume, run);
        return 0;
    }
    run.rebuilt_volume = std::move(volume);
    uni::null_out_stream out;
    uni::status_line status([](std::string_view) {});
    (void)run_driver(out, run, status, fuzz_log());
    return 0;
}
