// storage/containers/allocation.h: which blocks of a disk its container keeps nothing of: the allocation tables of VHD,
// VHDX, VMDK and QCOW2, read by this program itself. No library tells.
#pragma once

#include "storage/disk_reader.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

enum class entry_form : std::uint8_t { vhd, vhdx, vmdk, vmdk_zeroed, qcow2, qcow3 };

// The tables of one file of a container: the first level is here, the second is read when it is asked for.
struct allocation_tables {
    std::string path;
    entry_form form = entry_form::vhd;
    bool packed = false;           // all blocks may be kept in fewer bytes than they have
    std::uint64_t block_size = 0;  // bytes of the disk that an entry stands for
    std::uint64_t blocks_per_table = 0;
    std::vector<std::uint64_t> tables;  // byte offsets in the file; 0: nothing is kept of all its blocks
};

// A stretch of the disk, and the tables that tell of it; without tables all of it is data, or a hole.
struct allocation_extent {
    std::uint64_t size = 0;  // bytes
    bool hole = false;
    allocation_tables tables;
};

enum class block_state : std::uint8_t { data, hole, lost };

// Of a disk whose extents follow each other. Lost is what an entry that leads out of its file stands for, and all of a
// table that cannot be read; a table that has such an entry tells of no hole.
class allocation {
public:
    explicit allocation(std::vector<allocation_extent> extents) : extents_(std::move(extents)) {}

    // What is kept of the disk from `offset` to `end`, which lies behind it; a hole reads as zeros. Behind all extents
    // there is data.
    [[nodiscard]] block_state state_at(std::uint64_t offset, std::uint64_t& end);

    // Whether all tables can be read and lead into their files. Reads all of them.
    [[nodiscard]] bool sound();

private:
    [[nodiscard]] block_state state_in(const allocation_extent& extent, std::uint64_t at, std::uint64_t& end);
    void load(const allocation_extent& extent, std::size_t index);

    std::vector<allocation_extent> extents_;
    const allocation_tables* loaded_from_ = nullptr;
    std::size_t loaded_index_ = 0;
    std::vector<block_state> states_;  // of the blocks of the loaded table
    bool sound_ = true;                // the loaded table
    disk_reader file_;
};

// Null where there are no tables, or where anything about them is odd.
[[nodiscard]] std::unique_ptr<allocation> read_vhd_allocation(const std::string& path, std::uint64_t disk_size);
[[nodiscard]] std::unique_ptr<allocation> read_vhdx_allocation(const std::string& path, std::uint64_t disk_size);
[[nodiscard]] std::unique_ptr<allocation> read_qcow_allocation(const std::string& path, std::uint64_t disk_size);

// Of one sparse extent; without tables when they are odd.
[[nodiscard]] allocation_tables read_vmdk_tables(const std::string& path);
