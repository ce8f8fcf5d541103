// tests/support/ntfs_image_builder.h: small NTFS volumes made byte by byte, for what no formatter makes: streams,
// indexes and $MFT in pieces, odd record sizes, damage. Build a valid thing, then poke one field.
#pragma once

#include "ntfs/attribute.h"
#include "ntfs/attribute_list.h"
#include "ntfs/boot_sector.h"
#include "ntfs/file_name.h"
#include "ntfs/fixup.h"
#include "ntfs/index_node.h"
#include "ntfs/mft_record.h"
#include "support/bytes.h"

#include <bit>
#include <cstring>
#include <stdexcept>

template <std::unsigned_integral T>
[[nodiscard]] bytes poked(bytes of, std::size_t at, T value) {
    poke<T>(of, at, value);
    return of;
}

// A run list as it stands in an attribute, with its end mark; fields as narrow as they can be.
struct made_run {
    std::uint64_t lcn, length;
};
inline constexpr std::uint64_t hole = ~std::uint64_t{0};

inline bytes run_list(const std::vector<made_run>& runs) {
    bytes list;
    const auto append_number = [&list](std::uint64_t number, std::size_t width) {
        for (std::size_t i = 0; i < width; ++i) list.push_back(static_cast<std::uint8_t>(number >> (8 * i)));
    };
    std::uint64_t lcn = 0;
    for (const made_run& run : runs) {
        const std::uint64_t delta = run.lcn == hole ? 0 : run.lcn - lcn;
        const std::uint64_t magnitude = (delta >> 63U) != 0 ? ~delta : delta;
        const std::size_t offset_width = run.lcn == hole ? 0 : std::bit_width(magnitude) / 8 + 1;
        const std::size_t length_width = (std::bit_width(run.length) + 7) / 8;
        append_number(offset_width << 4U | length_width, 1);
        append_number(run.length, length_width);
        append_number(delta, offset_width);
        lcn += delta;
    }
    append_number(0, 1);
    return list;
}

// Resident with a value, or not resident with a run list.
struct made_attribute {
    std::uint32_t type = attribute_type::data;
    std::u16string name{};
    std::uint16_t id = 0;
    bytes value{};
    bytes runs{};
    std::uint64_t first_vcn = 0;
    std::uint64_t real_size = 0;

    [[nodiscard]] bytes build() const {
        bytes out(runs.empty() ? 0x18 : 0x40);
        const std::size_t name_at = out.size();
        out.resize((name_at + name.size() * 2 + 7) / 8 * 8);
        const auto content = static_cast<std::uint16_t>(out.size());
        std::copy_n(reinterpret_cast<const std::uint8_t*>(name.data()), name.size() * 2, out.data() + name_at);
        append(out, runs.empty() ? value : runs);
        out.resize((out.size() + 7) / 8 * 8);
        poke<std::uint32_t>(out, attribute_header::type, type);
        poke<std::uint32_t>(out, attribute_header::length, static_cast<std::uint32_t>(out.size()));
        poke<std::uint8_t>(out, attribute_header::name_length, static_cast<std::uint8_t>(name.size()));
        poke<std::uint16_t>(out, attribute_header::name_offset, static_cast<std::uint16_t>(name_at));
        poke<std::uint16_t>(out, attribute_header::id, id);
        if (runs.empty()) {
            poke<std::uint32_t>(out, attribute_header::value_length, static_cast<std::uint32_t>(value.size()));
            poke<std::uint16_t>(out, attribute_header::value_offset, content);
            return out;
        }
        poke<std::uint8_t>(out, attribute_header::non_resident, 1);
        poke<std::uint64_t>(out, attribute_header::first_vcn, first_vcn);
        poke<std::uint16_t>(out, attribute_header::run_list_offset, content);
        poke<std::uint64_t>(out, attribute_header::allocated_size, real_size);
        poke<std::uint64_t>(out, attribute_header::real_size, real_size);
        poke<std::uint64_t>(out, attribute_header::initialised_size, real_size);
        return out;
    }
};

// Puts an update sequence over a record or block: what was at the end of every 512 bytes goes into the array.
inline void protect(bytes& block, std::uint16_t array) {
    constexpr std::uint16_t check = 0xC0DE;
    const std::size_t words = block.size() / update_sequence_stride;
    poke<std::uint16_t>(block, multi_sector_header::sequence_offset, array);
    poke<std::uint16_t>(block, multi_sector_header::sequence_count, static_cast<std::uint16_t>(words + 1));
    poke<std::uint16_t>(block, array, check);
    for (std::size_t i = 1; i <= words; ++i) {
        std::memcpy(block.data() + array + 2 * i, block.data() + i * update_sequence_stride - 2, 2);
        poke<std::uint16_t>(block, i * update_sequence_stride - 2, check);
    }
}

struct made_record {
    std::vector<made_attribute> attributes{};
    std::uint16_t flags = mft_record::flag_in_use;
    std::uint64_t base = 0;
    std::uint16_t sequence = 0;
    std::uint32_t number = 0;

    [[nodiscard]] bytes build(std::size_t size) const {
        constexpr std::uint16_t sequence_array = 48;
        bytes out((sequence_array + 2 * (size / update_sequence_stride + 1) + 7) / 8 * 8);
        poke<std::uint32_t>(out, multi_sector_header::signature, signature_file);
        poke<std::uint16_t>(out, mft_record::first_attribute, static_cast<std::uint16_t>(out.size()));
        poke<std::uint16_t>(out, mft_record::sequence_number, sequence);
        poke<std::uint16_t>(out, mft_record::flags, flags);
        poke<std::uint32_t>(out, mft_record::bytes_allocated, static_cast<std::uint32_t>(size));
        poke<std::uint64_t>(out, mft_record::base_reference, base);
        poke<std::uint32_t>(out, mft_record::own_number, number);
        for (const made_attribute& one : attributes) append(out, one.build());
        append(out, bytes(8, 0xFF));
        if (out.size() > size) throw std::length_error("the attributes do not fit the record");
        out.resize(size);
        protect(out, sequence_array);
        return out;
    }
};

inline bytes list_entry(std::uint32_t type, std::uint64_t record, std::uint16_t id) {
    bytes out(32);
    poke<std::uint32_t>(out, attribute_list_entry::type, type);
    poke<std::uint16_t>(out, attribute_list_entry::length, 32);
    poke<std::uint64_t>(out, attribute_list_entry::reference, reference(record, 1));
    poke<std::uint16_t>(out, attribute_list_entry::attribute_id, id);
    return out;
}

inline made_attribute attribute_list(const std::vector<bytes>& entries) {
    made_attribute list{.type = attribute_type::attribute_list};
    for (const bytes& entry : entries) append(list.value, entry);
    return list;
}

// In a name: when the file was created; the other three times follow it.
inline constexpr std::uint64_t made_file_time = 130'000'000'000'000'000;

inline made_attribute name_attribute(std::u16string_view name, std::uint64_t parent = 0,
                                     std::uint8_t space = name_space::win32_and_dos) {
    made_attribute made{.type = attribute_type::file_name, .value = bytes(file_name_value::name + name.size() * 2)};
    poke<std::uint64_t>(made.value, file_name_value::parent, parent);
    for (std::size_t i = 0; i < 4; ++i) {
        poke<std::uint64_t>(made.value, file_name_value::created + 8 * i, made_file_time + i);
    }
    poke<std::uint8_t>(made.value, file_name_value::name_length, static_cast<std::uint8_t>(name.size()));
    poke<std::uint8_t>(made.value, file_name_value::name_space, space);
    std::memcpy(made.value.data() + file_name_value::name, name.data(), name.size() * 2);
    return made;
}

// A junction or symbolic link, or with any other tag what is none.
inline made_attribute reparse_point(std::uint32_t tag, std::u16string_view target, bool relative = false) {
    made_attribute made{.type = attribute_type::reparse_point, .value = bytes(tag == 0xA000000C ? 20 : 16)};
    if (relative) made.value[16] = 1;
    const auto names = made.value.size() + 8;  // behind a substitute name of 8 bytes
    made.value.resize(names + target.size() * 2);
    std::memcpy(made.value.data() + names, target.data(), target.size() * 2);
    poke<std::uint32_t>(made.value, 0, tag);
    for (const std::size_t field : {4U, 10U, 12U}) poke<std::uint16_t>(made.value, field, 8);
    poke<std::uint16_t>(made.value, 14, static_cast<std::uint16_t>(target.size() * 2));
    return made;
}

inline bytes index_entry_of(std::uint64_t entry, std::uint64_t parent, std::u16string_view name) {
    const bytes key = name_attribute(name, parent).value;
    bytes out(index_entry::key);
    append(out, key);
    out.resize((out.size() + 7) / 8 * 8);
    poke<std::uint64_t>(out, index_entry::reference, reference(entry, 1));
    poke<std::uint16_t>(out, index_entry::length, static_cast<std::uint16_t>(out.size()));
    poke<std::uint16_t>(out, index_entry::key_length, static_cast<std::uint16_t>(key.size()));
    return out;
}

inline bytes last_index_entry() {
    return poked(poked<std::uint16_t>(bytes(16), index_entry::length, 16), index_entry::flags, std::uint16_t{2});
}

// A node from its header on: an entry of 24 bytes for each number, and the last one. What is looked at are the numbers,
// so the keys have no names. `first`: where the entries begin.
inline bytes index_node(const std::vector<std::uint64_t>& children, std::uint32_t first = 16) {
    bytes out(first);
    for (const std::uint64_t child : children) {
        bytes entry(index_entry::key + 8);
        poke<std::uint64_t>(entry, index_entry::reference, reference(child, 1));
        poke<std::uint16_t>(entry, index_entry::length, 24);
        poke<std::uint16_t>(entry, index_entry::key_length, 8);
        append(out, entry);
    }
    append(out, last_index_entry());
    poke<std::uint32_t>(out, index_node_header::first_entry, first);
    poke<std::uint32_t>(out, index_node_header::total_size, static_cast<std::uint32_t>(out.size()));
    return out;
}

inline made_attribute index_root(const std::vector<std::uint64_t>& children) {
    made_attribute root{.type = attribute_type::index_root, .name = u"$I30", .value = bytes(index_root_value::node)};
    poke<std::uint32_t>(root.value, index_root_value::indexed_type, attribute_type::file_name);
    poke<std::uint32_t>(root.value, index_root_value::block_size, index_block::size);
    append(root.value, index_node(children));
    return root;
}

// `node`: its entries begin at 64, behind the update sequence.
inline bytes index_block_with(const bytes& node) {
    bytes out(index_block::node);
    append(out, node);
    out.resize(index_block::size);
    poke<std::uint32_t>(out, multi_sector_header::signature, signature_indx);
    protect(out, 40);
    return out;
}

inline bytes index_block_of(const std::vector<std::uint64_t>& children) {
    return index_block_with(index_node(children, 64));
}

// What begins every block of a shadow copy's files.
inline const bytes shadow_copy_id{0x6B, 0x87, 0x08, 0x38, 0x76, 0xC1, 0x48, 0x4E,
                                  0xB7, 0xAE, 0x04, 0x04, 0x6E, 0x6C, 0xC7, 0x52};

// A slot of the catalog. Two bytes of the store's identifier are set: store 1 comes first as text and last as bytes.
struct made_slot {
    std::uint8_t type, store;
    std::uint64_t header, file;
};

inline bytes shadow_catalog(const std::vector<made_slot>& slots, std::size_t size) {
    bytes out = shadow_copy_id;
    out.resize(size);
    out[20] = 2;
    for (std::size_t at = 128; const made_slot& slot : slots) {
        out[at] = slot.type;
        out[at + 16] = static_cast<std::uint8_t>(0xA0 - slot.store);
        out[at + 19] = slot.store;
        poke<std::uint64_t>(out, at + 32, slot.header);
        poke<std::uint64_t>(out, at + 56, slot.file);
        at += 128;
    }
    return out;
}

// A volume whose $MFT lies at LCN 2. Every cluster behind it begins with its own LCN as 32 bits, so that it is known
// again wherever it turns up.
struct ntfs_image_builder {
    std::uint32_t cluster_size = 4096;
    std::uint32_t record_size = 1024;
    std::uint32_t clusters = 256;
    std::uint32_t mft_clusters = 16;
    bytes image{};

    static constexpr std::uint32_t mft_lcn = 2;

    ntfs_image_builder& build() {
        image.resize(std::size_t{clusters} * cluster_size);
        for (std::uint32_t lcn = mft_lcn + mft_clusters; lcn < clusters; ++lcn) {
            poke<std::uint32_t>(image, std::size_t{lcn} * cluster_size, lcn);
        }
        std::memcpy(image.data() + boot_sector::oem_identifier, "NTFS    ", 8);
        poke<std::uint16_t>(image, boot_sector::bytes_per_sector, 512);
        poke<std::uint8_t>(image, boot_sector::sectors_per_cluster, static_cast<std::uint8_t>(cluster_size / 512));
        poke<std::uint64_t>(image, boot_sector::total_sectors, image.size() / 512);
        poke<std::uint64_t>(image, boot_sector::mft_cluster, mft_lcn);
        poke<std::uint8_t>(image, boot_sector::clusters_per_record,
                           static_cast<std::uint8_t>(-std::countr_zero(record_size)));
        put(mft_entry_number, {.attributes = {{.runs = run_list({{mft_lcn, mft_clusters}})}}});
        return *this;
    }

    [[nodiscard]] std::size_t offset_of_record(std::uint64_t entry) const {
        return std::size_t{mft_lcn} * cluster_size + static_cast<std::size_t>(entry) * record_size;
    }
    void put(std::uint64_t entry, made_record record) {
        record.number = static_cast<std::uint32_t>(entry);
        write(offset_of_record(entry), record.build(record_size));
    }
    void write(std::size_t at, const bytes& content) { std::ranges::copy(content, image.data() + at); }
};
