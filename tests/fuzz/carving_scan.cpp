// The scan for lost records in one cluster, under each pass and any bound for entry numbers.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz_input in(data, size);
    static const usnjrnl_context layout = settings_from({"lorq", "-csv", "-a", "-show_offset"});
    run_meter meter;
    journal_intake intake(meter);
    carving_pass pass{.label = "SnapID: 1"};
    pass.origin = static_cast<record_origin>(1 + in.number<std::uint8_t>() % 3);
    pass.entry_bound = in.number<std::uint64_t>();
    const bytes cluster = in.rest();
    intake.carve(byte_view(cluster, 0x10000), pass);
    write_all(layout, intake);
    return 0;
}
