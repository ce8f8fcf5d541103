// The scan for lost records in one cluster, under each pass and any bound for entry numbers.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz_input in(data, size);
    static const usnjrnl_context layout = settings_from({"lorq", "-csv", "-a", "-show_offset"});
    run_meter meter;
    carving_pass pass{.label = "SnapID: 1"};
    const auto kind = in.number<std::uint8_t>();
    journal_intake intake(meter, (kind & 0x80U) != 0);
    pass.origin = static_cast<record_origin>(1 + kind % 3);
    pass.entry_bound = in.number<std::uint64_t>();
    if ((kind & 0x40U) != 0) pass.cluster_size = 512U << (kind >> 4U & 3U);
    for (std::uint64_t at = 0x10000; !in.empty();) {
        const auto piece = pass.cluster_size == 0 ? in.take(1U << 20U) : in.take(pass.cluster_size);
        const bytes cluster(piece.begin(), piece.end());
        intake.carve(byte_view(cluster, at), pass);
        at += cluster.size();
    }
    write_all(layout, intake);
    return 0;
}
