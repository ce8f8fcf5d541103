#include "storage/containers/container_files.h"
#include "storage/containers/disk_fields.h"
#include "storage/partitions.h"

#include "platform/platform.h"

#include <algorithm>
#include <cctype>

namespace {

using namespace std::string_view_literals;

// A segment: 13 bytes with its number, then sections, each behind a descriptor that says where the next one lies.
namespace ewf {
constexpr std::size_t header_size = 13;
constexpr std::size_t number = 9;  // u16
constexpr std::size_t section_size = 76;
constexpr std::size_t next = 16;               // u64, byte offset; of the last section its own
constexpr std::size_t length = 24;             // u64, descriptor included
constexpr std::size_t table_header_size = 24;  // of the sections "table" and "table2": u32 count of chunks
constexpr std::size_t table_base = 8;          // u64, what the places count from
constexpr std::size_t table_checksum = 20;     // u32, Adler-32 of what is before
constexpr std::size_t checksum = 72;           // u32, Adler-32 of what is before
}  // namespace ewf

constexpr std::uint32_t numbered = 99;
constexpr std::uint32_t letters = 26;
constexpr std::uint32_t most_sections = 1U << 20U;

std::uint32_t adler32(std::span<const std::uint8_t> bytes) {
    std::uint32_t low = 1;
    std::uint32_t high = 0;
    while (!bytes.empty()) {
        constexpr std::size_t until_they_overflow = 5552;
        const auto piece = bytes.first(std::min(bytes.size(), until_they_overflow));
        for (const std::uint8_t one : piece) high += low += one;
        low %= 65521;
        high %= 65521;
        bytes = bytes.subspan(piece.size());
    }
    return high << 16U | low;
}

enum class segment_end : std::uint8_t { cut, another_follows, last };

enum class table_health : std::uint8_t { sound, damaged, hostile };

// Whether the places of the chunks follow each other at lengths that chunks can have. Counted in 31 bits: where makers
// went on behind two gigabytes the numbers wrap.
bool lengths_possible(byte_view entries, std::size_t count, std::uint64_t end_of_last) {
    constexpr std::uint32_t place = 0x7FFF'FFFF;
    constexpr std::uint32_t longest = 32U << 20U;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t next =
            i + 1 < count ? entries.value<std::uint32_t>(4 * (i + 1)) : static_cast<std::uint32_t>(end_of_last);
        if (((next - entries.value<std::uint32_t>(4 * i)) & place) > longest) return false;
    }
    return true;
}

// A table says of each chunk where it is kept; the library takes as much memory for one as the next is away. Adds the
// number of its chunks to `chunks`, those of the segment, when it is sound. `alone`: behind the entries stand not their
// checksum but the chunks.
table_health check_table(disk_reader& file, std::uint64_t at, std::uint64_t length, bool alone, std::uint64_t& chunks) {
    constexpr std::uint32_t most_entries = 1U << 22U;
    const std::uint64_t begin = at + ewf::section_size;
    std::vector<std::uint8_t> bytes;
    if (!read_whole(file, begin, ewf::table_header_size, bytes)) return table_health::damaged;
    const byte_view header(bytes);
    const auto count = header.value<std::uint32_t>(0);
    const auto base = header.value<std::uint64_t>(ewf::table_base);
    if (adler32(header.bytes().first(ewf::table_checksum)) != header.value<std::uint32_t>(ewf::table_checksum)) {
        return table_health::damaged;
    }
    if (count == 0) return table_health::sound;
    const std::size_t size = std::size_t{count} * 4;
    // All tables of a segment lie in it side by side.
    if (count > most_entries || (chunks + count) * 4 > file.disk_size() ||
        !read_whole(file, begin + ewf::table_header_size, size, bytes)) {
        return table_health::hostile;
    }
    const std::uint32_t sum = adler32(bytes);
    if (!lengths_possible(byte_view(bytes), count, at + length - base)) {
        // Of these two the library takes the copy only when it sees the damage.
        if (alone || !read_whole(file, begin + ewf::table_header_size + size, 4, bytes)) return table_health::hostile;
        return byte_view(bytes).value<std::uint32_t>(0) == sum ? table_health::hostile : table_health::damaged;
    }
    if (!alone && length >= ewf::section_size + ewf::table_header_size + size + 4 &&
        (!read_whole(file, begin + ewf::table_header_size + size, 4, bytes) ||
         byte_view(bytes).value<std::uint32_t>(0) != sum)) {
        return table_health::damaged;
    }
    chunks += count;
    return table_health::sound;
}

// Walks the sections; `cut` when one of them is damaged or does not lie in the file, or when neither a table nor the
// copy behind it is sound: all chunks that follow would be taken for others. `chunks` are those that its tables name.
segment_end walk_sections(disk_reader& file, std::uint64_t& chunks) {
    table_health table = table_health::sound;
    bool alone = true;
    const std::uint64_t size = file.disk_size();
    std::vector<std::uint8_t> bytes;
    std::uint64_t at = ewf::header_size;
    for (std::uint32_t i = 0; i < most_sections; ++i) {
        if (!read_whole(file, at, ewf::section_size, bytes)) return segment_end::cut;
        const byte_view section(bytes);
        if (adler32(section.bytes().first(ewf::checksum)) != section.value<std::uint32_t>(ewf::checksum)) {
            return segment_end::cut;
        }
        const auto next = section.value<std::uint64_t>(ewf::next);
        const auto length = section.value<std::uint64_t>(ewf::length);
        const bool is_copy = holds_text(section, 0, "table2\0"sv);
        if (table == table_health::damaged && !is_copy) return segment_end::cut;
        if (holds_text(section, 0, "sectors\0"sv)) alone = false;
        if (holds_text(section, 0, "table\0"sv) || (is_copy && table == table_health::damaged)) {
            if (length > size - at) return segment_end::cut;
            table = check_table(file, at, length, alone, chunks);
            if (table == table_health::hostile || (is_copy && table != table_health::sound)) return segment_end::cut;
        }
        if (holds_text(section, 0, "next\0"sv)) return segment_end::another_follows;
        if (holds_text(section, 0, "done\0"sv)) return segment_end::last;
        if (next <= at || length > size - at || next - at < ewf::section_size) return segment_end::cut;
        at = next;
    }
    return segment_end::cut;
}

std::string name_of(const std::string& path) { return path.substr(path.find_last_of("/\\") + 1); }

}  // namespace

std::string ewf_segment_path(const std::string& first, std::uint32_t number) {
    if (number <= 1) return number == 1 ? first : std::string{};
    const std::size_t size = first.size();
    if (size < 4 || first.compare(size - 2, 2, "01") != 0 || first[size - 4] != '.' ||
        std::isalpha(static_cast<unsigned char>(first[size - 3])) == 0) {
        return {};
    }
    const char letter = first[size - 3];
    const bool lower = std::islower(static_cast<unsigned char>(letter)) != 0;
    const char a = lower ? 'a' : 'A';
    std::string extension(1, letter);
    if (number <= numbered) {
        extension += static_cast<char>('0' + number / 10);
        extension += static_cast<char>('0' + number % 10);
    } else {
        const std::uint32_t place = number - numbered - 1;
        const std::uint32_t leading = static_cast<std::uint32_t>(letter - a) + place / (letters * letters);
        if (leading >= letters) return {};
        extension[0] = static_cast<char>(a + static_cast<char>(leading));
        extension += static_cast<char>(a + static_cast<char>(place / letters % letters));
        extension += static_cast<char>(a + static_cast<char>(place % letters));
    }
    std::string path = first.substr(0, size - 3) + extension;
    if (platform::kind_of(path) != platform::path_kind::absent) return path;
    for (char& one : extension) {
        const auto byte = static_cast<unsigned char>(one);
        one = static_cast<char>(lower ? std::toupper(byte) : std::tolower(byte));
    }
    std::string other = first.substr(0, size - 3) + extension;
    return platform::kind_of(other) != platform::path_kind::absent ? other : path;
}

ewf_segments find_ewf_segments(const std::string& first) {
    ewf_segments found;
    for (std::uint32_t number = 1;; ++number) {
        const std::string path = ewf_segment_path(first, number);
        disk_reader file;
        std::vector<std::uint8_t> bytes;
        if (path.empty() || !file.open(path, reader_mode::image_file)) {
            found.missing =
                (path.empty() ? "the segment behind " + name_of(found.paths.back()) : name_of(path)) + " is missing";
            return found;
        }
        if (!read_whole(file, 0, ewf::header_size, bytes) ||
            !holds_text(byte_view(bytes), 0, "EVF\x09\x0D\x0A\xFF\0"sv) ||
            byte_view(bytes).value<std::uint16_t>(ewf::number) != number) {
            found.missing = name_of(path) + " is not segment " + std::to_string(number);
            return found;
        }
        std::uint64_t chunks = 0;
        const segment_end end = walk_sections(file, chunks);
        if (end == segment_end::cut) found.missing = name_of(path) + " is damaged or cut short";
        found.chunks += chunks;
        found.paths.push_back(path);
        if (end != segment_end::another_follows) return found;
    }
}
