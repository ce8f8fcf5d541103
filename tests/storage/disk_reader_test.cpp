#include "storage/disk_reader.h"

#include "support/memory_source.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

std::vector<std::uint8_t> numbered(std::size_t size) {
    std::vector<std::uint8_t> content(size);
    for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    return content;
}

struct made_reader {
    made_reader(std::size_t size, std::uint32_t alignment, bool tells_size = true) : content(numbered(size)) {
        auto memory = std::make_unique<memory_source>(content, alignment, tells_size);
        reader.open(std::make_unique<faulty_source>(std::move(memory), faults));
    }

    // How many bytes a read gave, all of them the right ones; -1 when it failed, -2 when a byte was wrong.
    int read(std::uint64_t offset, std::size_t length) {
        std::vector<std::uint8_t> into(length);
        std::size_t got = 0;
        if (!reader.read_at(offset, into, got)) return -1;
        const auto begin = content.begin() + static_cast<std::ptrdiff_t>(offset);
        return std::equal(into.begin(), into.begin() + static_cast<std::ptrdiff_t>(got), begin) ? static_cast<int>(got)
                                                                                                : -2;
    }

    std::vector<std::uint8_t> content;
    read_faults faults;
    disk_reader reader;
};

TEST(DiskReader, ReadsWholeSectorsOfADevice) {
    constexpr std::uint64_t far = std::numeric_limits<std::uint64_t>::max();
    struct {
        std::uint64_t offset;
        std::size_t length;
        int got;
        std::uint64_t read_offset;
        std::size_t read_length;
    } const cases[] = {
        {1000, 100, 100, 512, 1024},   // both ends inside a sector
        {512, 1024, 1024, 512, 1024},  // whole sectors, straight into the buffer
        {512, 1000, 1000, 512, 1024},  // only the length is odd
        {1, 511, 511, 0, 512},         // only the offset is
        {4095, 1, 1, 3584, 512},       // the last byte
        {4000, 4096, 96, 3584, 512},   // past the end
        {3584, 4096, 512, 3584, 512},
        {4096, 1, -1, 0, 0},  // nothing is asked of the device
        {far, 512, -1, 0, 0},
        {far / 2 - 100, 512, -1, 0, 0},
        {0, 0, -1, 0, 0},
    };
    for (const auto& one : cases) {
        made_reader made(4096, 512);
        EXPECT_EQ(made.read(one.offset, one.length), one.got) << one.offset;
        EXPECT_EQ(made.faults.last, std::pair(one.read_offset, one.read_length)) << one.offset;
    }
}

TEST(DiskReader, FindsTheEndOfASourceThatDoesNotTellItsSize) {
    made_reader made(1300, 512, false);
    EXPECT_EQ(made.reader.disk_size(), 0U);
    EXPECT_EQ(made.read(1000, 200), 200);
    EXPECT_EQ(made.read(1000, 400), 300);
    EXPECT_EQ(made.read(1024, 512), 276);
    EXPECT_EQ(made.read(1299, 10), 1);
    EXPECT_EQ(made.read(1300, 10), -1);
    EXPECT_EQ(made.read(1536, 512), -1);
}

TEST(DiskReader, ABadSectorFailsTheReadsThatTouchIt) {
    made_reader made(4096, 512);
    made.faults.bad = {{1024, 1536}};
    EXPECT_EQ(made.read(1000, 24), 24);
    EXPECT_EQ(made.read(1000, 25), -1);
    EXPECT_EQ(made.read(1535, 1), -1);
    EXPECT_EQ(made.read(1024, 512), -1);
    EXPECT_EQ(made.read(1536, 512), 512);
    EXPECT_EQ(made.faults.reads, 5U);
    made.reader.close();
    EXPECT_EQ(made.read(0, 512), -1);
    EXPECT_EQ(made.reader.disk_size(), 0U);
}

TEST(DiskReader, OpensFiles) {
    const temporary_folder folder;
    const auto content = numbered(4096);
    const std::string path = folder.write("image.dd", std::string(content.begin(), content.end()));
    disk_reader reader;
    for (const auto mode : {reader_mode::image_file, reader_mode::live_volume, reader_mode::device_path}) {
        EXPECT_FALSE(reader.open("", mode));
        EXPECT_FALSE(reader.open(folder / "missing", mode));
        EXPECT_FALSE(reader.is_open());
    }
    // A longer path of a live volume needs no geometry, so a file serves.
    for (const auto mode : {reader_mode::image_file, reader_mode::live_volume}) {
        ASSERT_TRUE(reader.open(path, mode));
        std::vector<std::uint8_t> into(100);
        std::size_t got = 0;
        ASSERT_TRUE(reader.read_at(1000, into, got));
        EXPECT_EQ(got, 100U);
        EXPECT_EQ(into, std::vector<std::uint8_t>(content.begin() + 1000, content.begin() + 1100));
    }
    ASSERT_TRUE(reader.open(path, reader_mode::image_file));
    EXPECT_EQ(reader.disk_size(), 4096U);
    EXPECT_FALSE(reader.open(folder / "missing", reader_mode::image_file));
    EXPECT_FALSE(reader.is_open());  // the earlier file is not read by mistake
}

}  // namespace
