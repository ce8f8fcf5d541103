#include "journal/shadow_stores.h"

#include "base/byte_view.h"
#include "base/file_reference.h"
#include "base/format_text.h"
#include "ntfs/ntfs_volume.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <optional>

namespace {

constexpr std::u16string_view catalog_path = u"\\System Volume Information\\{3808876b-c176-4e48-b7ae-04046e6cc752}";
constexpr guid vss_identifier{0x6B, 0x87, 0x08, 0x38, 0x76, 0xC1, 0x48, 0x4E,
                              0xB7, 0xAE, 0x04, 0x04, 0x6E, 0x6C, 0xC7, 0x52};

namespace catalog {
constexpr std::size_t slot_size = 128;
constexpr std::size_t smallest = 1024;
constexpr std::size_t largest = std::size_t{16} << 20U;  // there are at most 512 shadow copies of a volume
constexpr std::size_t block_type = 20;                   // u32 behind the identifier, 2 for the catalog
constexpr std::size_t entry_type = 0;                    // u64
constexpr std::size_t store_id = 16;                     // guid, in entries of every type
constexpr std::size_t header_offset = 32;                // u64, type 3
constexpr std::size_t file_reference = 56;               // u64, type 3
}  // namespace catalog

namespace store_header {
constexpr std::size_t size = 16384;
constexpr std::size_t copy_id = 0x90;         // guid
constexpr std::size_t machine_length = 0xC0;  // u16, bytes; the name follows, then the second length and name
}  // namespace store_header

guid guid_at(byte_view bytes, std::size_t at) {
    guid id{};
    byte_view found;
    if (bytes.sub(at, id.size(), found)) std::ranges::copy(found.bytes(), id.begin());
    return id;
}

bool is_block_header(byte_view slot) {
    return guid_at(slot, 0) == vss_identifier && slot.value<std::uint32_t>(catalog::block_type) == 2;
}

// The catalog file's unnamed data, zeros where it cannot be read; empty when there is none.
std::vector<std::uint8_t> read_catalog(ntfs_volume& volume, std::uint64_t& lost_bytes) {
    mft_entry entry;
    ntfs_stream data;
    const std::optional<std::uint64_t> number = volume.paths().find(catalog_path, link_mode::stay);
    if (!number || !volume.load_entry(*number, entry) ||
        !collect_stream(entry, attribute_type::data, u"", volume.cluster_size(), data)) {
        return {};
    }
    if (data.resident) return {data.content.bytes().begin(), data.content.bytes().end()};
    const std::uint64_t length =
        std::min({data.real_size, end_in_bytes(data.extents, volume.cluster_size()), std::uint64_t{catalog::largest}});
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(length));
    loss_list losses;
    (void)volume.clusters().read_stream(data.extents, 0, bytes, losses);
    for (const loss& one : losses) {
        std::ranges::fill(std::span(bytes).subspan(one.begin, one.end - one.begin), std::uint8_t{0});
        lost_bytes += one.end - one.begin;
    }
    return bytes;
}

// Store records by the texts of their identifiers.
std::map<std::string, shadow_store> parse_catalog(byte_view bytes) {
    std::map<std::string, shadow_store> stores;
    byte_view slot;
    if (bytes.size() < catalog::smallest || !is_block_header(bytes)) return stores;
    for (std::size_t at = catalog::slot_size; bytes.sub(at, catalog::slot_size, slot); at += catalog::slot_size) {
        const auto type = slot.value<std::uint64_t>(catalog::entry_type);
        if (is_block_header(slot) || type < 1 || type > 3) continue;
        const guid id = guid_at(slot, catalog::store_id);
        shadow_store& store = stores[guid_text(id)];
        store.store_id = id;
        if (type != 3) continue;
        store.header_offset = slot.value<std::uint64_t>(catalog::header_offset);
        store.file_reference = slot.value<std::uint64_t>(catalog::file_reference);
    }
    return stores;
}

void read_header(ntfs_volume& volume, shadow_store& store) {
    std::vector<std::uint8_t> block(store_header::size);
    std::size_t got = 0;
    if (store.header_offset > ~volume.volume_offset() ||
        !volume.reader().read_at(store.header_offset + volume.volume_offset(), block, got)) {
        volume.log().line("err: header of shadow-copy store " + guid_text(store.store_id) + " cannot be read");
        return;
    }
    const byte_view header(std::span<const std::uint8_t>(block).first(got));
    store.copy_id = guid_at(header, store_header::copy_id);
    const std::size_t first = header.value<std::uint16_t>(store_header::machine_length);
    store.operating_machine = utf16_at(header, store_header::machine_length + 2, first / 2);
    const std::size_t second_at = store_header::machine_length + 2 + first;
    store.service_machine = utf16_at(header, second_at + 2, header.value<std::uint16_t>(second_at) / 2U);
}

}  // namespace

std::string guid_text(const guid& id) {
    const byte_view bytes(id);
    return format_text("%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", bytes.value<std::uint32_t>(0),
                       unsigned{bytes.value<std::uint16_t>(4)}, unsigned{bytes.value<std::uint16_t>(6)},
                       unsigned{id[8]}, unsigned{id[9]}, unsigned{id[10]}, unsigned{id[11]}, unsigned{id[12]},
                       unsigned{id[13]}, unsigned{id[14]}, unsigned{id[15]});
}

std::vector<shadow_store> find_shadow_stores(ntfs_volume& volume, std::uint64_t& lost_bytes) {
    const std::vector<std::uint8_t> bytes = read_catalog(volume, lost_bytes);
    std::vector<shadow_store> stores;
    for (auto& [text, store] : parse_catalog(byte_view(bytes))) {
        if (entry_number(store.file_reference) == 0) continue;
        read_header(volume, store);
        stores.push_back(std::move(store));
    }
    return stores;
}
