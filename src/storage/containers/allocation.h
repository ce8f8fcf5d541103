// storage/containers/allocation.h: which blocks of a disk its container keeps nothing of, and which entries of its
// tables cannot be true: the allocation tables of VHD, VHDX, VMDK and QCOW2, read by this program itself. No library
// tells.
#pragma once

#include "storage/disk_reader.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

enum class entry_form : std::uint8_t { vhd, vhdx, vhdx_over, vmdk, vmdk_zeroed, qcow2, qcow3 };

// Bytes of a file, from `begin` to in front of `end`.
struct file_range {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

// The tables of one file of a container: the first level is here, the second is read when it is asked for.
struct allocation_tables {
    std::string path;
    entry_form form = entry_form::vhd;
    bool packed = false;           // each block is kept behind its number and length, in fewer bytes than it has
    std::uint64_t block_size = 0;  // bytes of the disk that an entry stands for
    std::uint64_t lead = 0;        // bytes that the file has in front of each block
    std::uint64_t blocks_per_table = 0;
    std::vector<std::uint64_t> tables{};     // byte offsets in the file; 0: nothing is kept of all its blocks
    std::vector<std::uint64_t> copies{};     // where the same tables are kept once more; empty: nowhere
    std::vector<file_range> taken{};         // by headers and tables: no block is kept there
    std::vector<std::uint32_t> conflicts{};  // in order: units of the file that more than one entry leads to
    bool odd = false;                        // something does not fit that costs no block
};

// A stretch of the disk, and the tables that tell of it; without tables all of it is data, or a hole.
struct allocation_extent {
    std::uint64_t size = 0;  // bytes
    bool hole = false;
    allocation_tables tables;
};

enum class block_state : std::uint8_t { data, hole, lost };

// From the place that was asked for to `end` the disk is like this.
struct stretch {
    block_state state = block_state::data;
    std::uint64_t end = 0;
    std::size_t level = 0;  // which image keeps it: 0 the first, 1 its parent, and so on
};

// Of a disk whose extents follow each other. Lost is what an entry stands for that leads out of its file or to where
// something else is kept, and all of a table that cannot be read; a table that has such an entry tells of no hole.
class allocation {
public:
    explicit allocation(std::vector<allocation_extent> extents) : extents_(std::move(extents)) {}

    // The disk shows this one where it keeps nothing itself. `in_part`: also inside of blocks that it keeps.
    void lay_over(std::unique_ptr<allocation> parent, bool in_part) {
        parent_ = std::move(parent);
        in_part_ = in_part;
    }

    // What is kept of the disk from `offset` on; a hole reads as zeros. Behind all extents there is data, and over a
    // parent no hole is known.
    [[nodiscard]] stretch at(std::uint64_t offset);

    // Whether bytes that a library read inside of one stretch are those that the file keeps, where a library may hold
    // otherwise: in a VHD without a parent a bit says of each sector whether it was written, and one that was not is
    // zeros for the library, but also in the file. Where it is not, one of the two is damaged.
    [[nodiscard]] bool agrees(std::uint64_t offset, std::span<const std::uint8_t> bytes);

    // What is wrong with the tables, a line without its end; empty for nothing. Reads all of them, and from then on
    // blocks that are kept in the same place are lost.
    [[nodiscard]] std::string damage();

private:
    [[nodiscard]] stretch own_at(std::uint64_t offset);
    [[nodiscard]] block_state state_in(const allocation_extent& extent, std::uint64_t at, std::uint64_t& end);
    void load(const allocation_extent& extent, std::size_t index);
    [[nodiscard]] bool may_be_kept(const allocation_tables& tables, std::uint64_t kept, std::uint64_t length) const;
    void check_markers(const allocation_tables& tables, std::uint64_t before);
    [[nodiscard]] bool find_conflicts(allocation_extent& extent);

    std::vector<allocation_extent> extents_;
    std::unique_ptr<allocation> parent_;
    bool in_part_ = false;
    const allocation_tables* loaded_from_ = nullptr;
    std::size_t loaded_index_ = 0;
    std::vector<block_state> states_;    // of the blocks of the loaded table
    std::vector<std::uint64_t> places_;  // where the file keeps them; 0 for nowhere
    bool markers_checked_ = false;
    bool sound_ = true;  // the loaded table
    disk_reader file_;
};

// Null where the tables are none that a disk of that size can have; the disk is not to be read then.
[[nodiscard]] std::unique_ptr<allocation> read_vhd_allocation(const std::string& path, std::uint64_t disk_size);
[[nodiscard]] std::unique_ptr<allocation> read_vhdx_allocation(const std::string& path, std::uint64_t disk_size);
[[nodiscard]] std::unique_ptr<allocation> read_qcow_allocation(const std::string& path, std::uint64_t disk_size);

// Of one sparse extent; without tables where they are none that it can have.
[[nodiscard]] allocation_tables read_vmdk_tables(const std::string& path);
