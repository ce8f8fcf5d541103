// The scan for lost records in one cluster, under each pass and any bound for entry numbers.
#include "fuzz_support.h"

#include "journal/chunk_receiver.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz_input in(data, size);
    static usnjrnl_context run;
    journal_collection journal;
    run.journal = &journal;
    run.active_pass = static_cast<carving_pass>(1 + in.number<std::uint8_t>() % 3);
    run.mft_entry_count = in.number<std::uint64_t>();
    const bytes cluster = in.rest();
    chunk_receiver(run).on_journal_chunk(byte_view(cluster, 0x10000));
    static usnjrnl_context layout = settings_from({"lorq", "-csv", "-a", "-show_offset"});
    layout.journal = &journal;
    write_all(layout);
    return 0;
}
