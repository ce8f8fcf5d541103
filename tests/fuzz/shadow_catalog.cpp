// The catalog of shadow copies, with the stores that it names: the input is the catalog's clusters and what follows.
#include "fuzz_support.h"
#include "seed_volume.h"

#include "journal/carving.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ntfs_image_builder made = seed::volume();
    fuzz_input in(data, size);
    bytes image = made.image;
    std::ranges::copy(in.take(2 * seed::catalog_space), image.data() + seed::catalog_lcn * made.cluster_size);
    ntfs_volume volume(fuzz_log());
    volume.open_volume(reader_over(std::move(image)), 0);
    run_meter meter;
    journal_intake intake(meter);
    progress shown = shown_progress();
    carving_run run{.volume = volume, .intake = intake, .shown = shown};
    carve_shadow_stores(run);
    return 0;
}
