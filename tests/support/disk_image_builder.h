// tests/support/disk_image_builder.h: disks with partition tables made byte by byte, and which volume is found on them.
#pragma once

#include "storage/partitions.h"
#include "support/memory_source.h"

#include <concepts>
#include <cstring>
#include <string>

// An image of zeros to be filled in; every method returns it again.
struct test_image {
    explicit test_image(std::size_t size) : bytes(size) {}

    template <std::unsigned_integral T>
    test_image& put(std::size_t at, std::type_identity_t<T> value) {
        std::memcpy(bytes.data() + at, &value, sizeof value);
        return *this;
    }
    test_image& text(std::size_t at, const std::string& value) {
        std::ranges::copy(value, bytes.begin() + static_cast<std::ptrdiff_t>(at));
        return *this;
    }
    test_image& boot_record(std::size_t at) { return put<std::uint16_t>(at + 510, 0xAA55); }
    test_image& entry(std::size_t record, std::size_t index, std::uint8_t type, std::uint32_t start,
                      std::uint32_t count) {
        const std::size_t at = record + 446 + index * 16;
        return put<std::uint8_t>(at + 4, type).put<std::uint32_t>(at + 8, start).put<std::uint32_t>(at + 12, count);
    }
    test_image& ntfs(std::size_t at, std::uint64_t sectors, std::uint16_t sector_size = 512) {
        text(at + 3, "NTFS    ").put<std::uint16_t>(at + 11, sector_size);
        return put<std::uint64_t>(at + 0x28, sectors).boot_record(at);
    }
    test_image& gpt(std::size_t header, std::uint32_t count, std::uint32_t entry_size, std::uint64_t own_sector = 1) {
        entry(0, 0, 0xEE, 1, 0xFFFFFFFF).put<std::uint64_t>(header + 0x18, own_sector);
        put<std::uint32_t>(header + 0x50, count).put<std::uint32_t>(header + 0x54, entry_size);
        return put<std::uint64_t>(header + 0x48, 2);
    }
    test_image& gpt_entry(std::size_t at, std::uint64_t first, std::uint64_t last) {
        return put<std::uint8_t>(at + 15, 0xC7).put<std::uint64_t>(at + 32, first).put<std::uint64_t>(at + 40, last);
    }

    // "ok" or "no", the offset and the found flag afterwards, then what there is to say.
    [[nodiscard]] std::string select(std::int64_t offset = 0, bool ignore_image_size = false,
                                     table_sectors sectors = table_sectors::by_signature) {
        disk_reader reader;
        reader.open(std::make_unique<memory_source>(bytes, 1, true, &faults));
        std::string messages;
        bool found = !bytes.empty();
        const bool selected = select_volume_offset(messages, reader, offset, ignore_image_size, found, sectors);
        return (selected ? "ok " : "no ") + std::to_string(offset) + (found ? " found\n" : "\n") + messages;
    }

    std::vector<std::uint8_t> bytes;
    read_faults faults;
};
