// journal/record_chain.h: records in memory, packed one behind the other in chunks: the fixed fields, then the name. A
// chain is a list of chunks; a collection has one or many. Nothing is allocated per record, and chunks that a chain
// gives up serve the next one.
#pragma once

#include "journal/journal_entry.h"
#include "platform/platform.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// The marks of a packed record: whether it is valid, two bits of its origin, two of its version (one less, 0 for none),
// whether it has details.
namespace record_marks {
inline constexpr unsigned valid = 1;
inline constexpr unsigned origin_shift = 1;
inline constexpr unsigned version_shift = 3;
inline constexpr unsigned two_bits = 3;
inline constexpr unsigned details = 0x20;
inline constexpr unsigned foreign = 0x40;
inline constexpr unsigned of_the_record = valid | two_bits << version_shift | details;  // wherever it was found

[[nodiscard]] constexpr record_origin origin_of(unsigned marks) {
    return static_cast<record_origin>(marks >> origin_shift & two_bits);
}
}  // namespace record_marks

// One cache line, and right behind it `name_units` UTF-16 units. None is ever made but by filling what a chain gave.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
struct alignas(8) packed_record : record_fields {
    std::uint64_t record_offset;
    std::uint32_t arrival_low;  // its number in order of arrival: 2^48 records are more than memory holds
    std::uint16_t arrival_high;
    std::uint8_t name_units;
    std::uint8_t marks;

    [[nodiscard]] std::uint64_t arrival() const { return std::uint64_t{arrival_high} << 32U | arrival_low; }
    // NOLINTBEGIN(*-reinterpret-cast): the units stand there, see above
    [[nodiscard]] char16_t* name() { return reinterpret_cast<char16_t*>(this + 1); }
    [[nodiscard]] const char16_t* name() const { return reinterpret_cast<const char16_t*>(this + 1); }
    // NOLINTEND(*-reinterpret-cast)

    // With the name, up to where the next record may begin.
    [[nodiscard]] static constexpr std::size_t bytes_with(std::size_t units) {
        return (sizeof(packed_record) + units * sizeof(char16_t) + 7) / 8 * 8;
    }
    [[nodiscard]] std::size_t bytes() const { return bytes_with(name_units); }
};
static_assert(sizeof(packed_record) == 64);

struct record_chunk {
    record_chunk* next;
    std::size_t used;  // bytes, once another chunk follows
    alignas(packed_record) std::array<std::byte, 8192 - 16> records;
};
static_assert(sizeof(record_chunk) == 8192 && packed_record::bytes_with(255) <= sizeof(record_chunk::records));

// Owns all chunks; those taken hold until the pool ends or they are given back.
class chunk_pool {
public:
    [[nodiscard]] record_chunk* take();
    void give_back(record_chunk* chunk);

private:
    std::vector<platform::memory_block> blocks_;
    record_chunk* free_ = nullptr;
    std::size_t left_ = 0;  // chunks of the last block that were never taken
};

// Records in the order in which they were put there.
class record_chain {
public:
    // Walks a chain while nothing is put there.
    class cursor {
    public:
        cursor() = default;  // of no chain
        explicit cursor(const record_chain& chain) : chain_end_(chain.room_) { enter(chain.first_); }
        // Null at the end.
        [[nodiscard]] const packed_record* next() {
            if (at_ == end_ && (chunk_ == nullptr || !enter(chunk_->next))) return nullptr;
            // What `append` gave room for.
            const auto record = reinterpret_cast<const packed_record*>(at_);  // NOLINT(*-reinterpret-cast)
            at_ += record->bytes();
            return record;
        }

        // Where the record is that was handed out last.
        [[nodiscard]] const record_chunk* chunk() const { return chunk_; }

    private:
        // False, with nothing changed, when there is no such chunk.
        bool enter(const record_chunk* chunk) {
            if (chunk == nullptr) return false;
            chunk_ = chunk;
            at_ = chunk->records.data();
            end_ = chunk->next == nullptr ? chain_end_ : at_ + chunk->used;
            return true;
        }

        const std::byte* chain_end_ = nullptr;
        const record_chunk* chunk_ = nullptr;
        const std::byte* at_ = nullptr;
        const std::byte* end_ = nullptr;
    };

    // Room behind the last record for one of this key and so many units of name, to be filled by the caller at once.
    [[nodiscard]] packed_record* append(chunk_pool& pool, std::uint64_t key, std::size_t name_units);

    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] std::uint64_t last_key() const { return last_key_; }
    // Whether every key is at least the one before.
    [[nodiscard]] bool in_order() const { return in_order_; }

    // Hands each record to `take` and gives every chunk back once its records are taken; the chain is empty then.
    template <typename taker>
    void empty_into(chunk_pool& pool, const taker& take) {
        record_chain left = std::exchange(*this, record_chain());
        cursor at(left);
        while (const packed_record* const record = at.next()) {
            if (at.chunk() != left.first_) pool.give_back(std::exchange(left.first_, left.first_->next));
            take(*record);
        }
        if (left.first_ != nullptr) pool.give_back(left.first_);
    }

private:
    void add_chunk(record_chunk* chunk);

    record_chunk* first_ = nullptr;
    record_chunk* last_ = nullptr;
    std::byte* room_ = nullptr;      // in the last chunk, behind the last record
    std::byte* room_end_ = nullptr;  // of that chunk
    std::size_t size_ = 0;
    std::uint64_t last_key_ = 0;
    bool in_order_ = true;
};
