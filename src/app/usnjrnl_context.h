// app/usnjrnl_context.h: the settings and the state of one journal run. Plain data like its base; what it points to
// belongs to the run driver.
#pragma once

#include "app/cmd_params.h"
#include "base/run_meter.h"

#include <cstdint>
#include <memory>
#include <string>

class journal_collection;
class ntfs_volume;

enum class source_kind : std::uint32_t {
    live_volume = 0x20,
    image = 0x21,
    device_path = 0x23,
    extracted_file = 0xFF,
};

// The carving pass that is running. While one is, chunks are carved instead of walked.
enum class carving_pass : std::uint8_t { none, unallocated, shadow_copies, slack };

struct usnjrnl_context : cmd_params {
    bool closed_only = true;

    bool show_offset = false;
    bool show_dir_path = false;
    bool pull_times = false;
    bool include_unalloc = false;
    bool include_vss = false;
    bool include_slack = false;
    bool extra_scan = false;  // any of the three
    bool xml_escape = false;
    bool rebuild_mft = false;

    std::string banner;
    std::string source_text;  // the source as typed
    std::string mft_file_path;
    std::string journal_path;
    std::string volume_path;
    std::string image_path;
    std::int64_t volume_offset = 0;  // bytes, of the NTFS volume inside the image
    source_kind source = source_kind::extracted_file;

    journal_collection* journal = nullptr;
    std::shared_ptr<ntfs_volume> rebuilt_volume;  // from the check of the volume: its MFT is not put together twice
    carving_pass active_pass = carving_pass::none;
    std::string snapshot_label;                        // of the shadow copy that is carved, or was last
    std::uint64_t mft_entry_count = 0x3FFFFFFFFFFFFF;  // entry numbers of carved records are below it
    bool found_something = false;
    std::shared_ptr<run_meter> meter = std::make_shared<run_meter>();  // which the run guard reads last
    std::uint64_t lost_bytes = 0;                                      // of the source, that could not be read
};
