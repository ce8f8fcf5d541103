#include "storage/disk_reader.h"

#include "support/memory_source.h"

#include <gtest/gtest.h>

#include <limits>

TEST(DiskReader, ReadsWholeSectorsOfADevice) {
    std::vector<std::uint8_t> content(4096);
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    read_faults faults;
    disk_reader reader;
    reader.open(std::make_unique<memory_source>(content, 512, true, &faults));
    // What a read gives, -1 for none, and what the device is asked for.
    const auto expect = [&](std::uint64_t offset, std::size_t length, int given, std::uint64_t asked,
                            std::size_t bytes) {
        std::vector<std::uint8_t> into(length);
        std::size_t got = 0;
        faults.last = {};
        EXPECT_EQ(reader.read_at(offset, into, got) ? static_cast<int>(got) : -1, given) << offset;
        EXPECT_TRUE(given == -1 || std::memcmp(into.data(), content.data() + offset, got) == 0) << offset;
        EXPECT_EQ(faults.last, std::pair(asked, bytes)) << offset;
    };
    expect(1000, 100, 100, 512, 1024);   // both ends inside a sector
    expect(512, 1024, 1024, 512, 1024);  // whole sectors, straight into the buffer
    expect(512, 1000, 1000, 512, 1024);  // only the length is odd
    expect(1, 511, 511, 0, 512);         // only the offset is
    expect(4000, 4096, 96, 3584, 512);   // past the end
    expect(3584, 4096, 512, 3584, 512);
    constexpr std::uint64_t far = std::numeric_limits<std::uint64_t>::max();
    for (const std::uint64_t nowhere : {std::uint64_t{4096}, far, far / 2 - 100}) expect(nowhere, 512, -1, 0, 0);
    expect(0, 0, -1, 0, 0);
}
