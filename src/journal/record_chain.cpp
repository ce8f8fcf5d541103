#include "journal/record_chain.h"

record_chunk* chunk_pool::take() {
    constexpr std::size_t per_block = platform::memory_block::large_page / sizeof(record_chunk);
    if (record_chunk* const chunk = free_; chunk != nullptr) {
        free_ = chunk->next;
        return chunk;
    }
    if (left_ == 0) {
        blocks_.emplace_back(platform::memory_block::large_page);
        left_ = per_block;
    }
    return static_cast<record_chunk*>(blocks_.back().data()) + (per_block - left_--);
}

void chunk_pool::give_back(record_chunk* chunk) {
    chunk->next = free_;
    free_ = chunk;
}

packed_record* record_chain::append(chunk_pool& pool, std::uint64_t key, std::size_t name_units) {
    const std::size_t bytes = packed_record::bytes_with(name_units);
    if (static_cast<std::size_t>(room_end_ - room_) < bytes) add_chunk(pool.take());
    // The caller makes a record of the room at once.
    const auto room = reinterpret_cast<packed_record*>(room_);  // NOLINT(*-reinterpret-cast)
    room_ += bytes;
    // Where the next one will stand: of many chains, each is written to only now and then.
    __builtin_prefetch(room_ + 64, 1);
    __builtin_prefetch(room_ + 128, 1);
    in_order_ = in_order_ && key >= last_key_;
    last_key_ = key;
    ++size_;
    return room;
}

void record_chain::add_chunk(record_chunk* chunk) {
    if (last_ != nullptr) last_->used = static_cast<std::size_t>(room_ - last_->records.data());
    (last_ == nullptr ? first_ : last_->next) = chunk;
    last_ = chunk;
    chunk->next = nullptr;
    room_ = chunk->records.data();
    room_end_ = room_ + chunk->records.size();
}
