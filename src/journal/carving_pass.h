// journal/carving_pass.h: what the three carving passes have in common.
#pragma once

#include "app/usnjrnl_context.h"
#include "journal/carving.h"
#include "ntfs/mft_entry.h"
#include "ntfs/ntfs_volume.h"

#include <cstdint>

// Marks the run's pass as active for as long as it lives.
class active_pass {
public:
    active_pass(usnjrnl_context& run, carving_pass pass) : run_(run), carving_(*run.meter, phase::carve) {
        run.active_pass = pass;
    }
    ~active_pass() { run_.active_pass = carving_pass::none; }
    active_pass(const active_pass&) = delete;
    active_pass& operator=(const active_pass&) = delete;

private:
    usnjrnl_context& run_;
    in_phase carving_;
};

// The bound for entry numbers of carved records: as many records as the clusters of $MFT hold.
[[nodiscard]] std::uint64_t entry_number_bound(ntfs_volume& volume);

// Adds pieces that could not be read to the run's lost bytes, however many an image claims.
void count_lost(usnjrnl_context& run, std::uint64_t pieces, std::uint64_t bytes_each);

// Sets the found-something flag by what the collection holds, which is the result.
bool conclude_pass(usnjrnl_context& run);

// The text that ends the unallocated and the slack pass.
void show_results_text(const progress_sink& progress);
