// journal/stray_records.h: the records that arrived behind one of a later time. They are kept in chains by time, each
// small enough for a cache, so that putting millions in order costs each of them the same as putting thousands in
// order: memory is never jumped about in.
#pragma once

#include "journal/record_chain.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class stray_records {
public:
    // Room for a record, to be filled by the caller at once; see record_chain::append.
    [[nodiscard]] packed_record* append(chunk_pool& pool, std::uint64_t key, std::size_t name_units);

    // In order of time: every key of a chain is less than every key of the next. Within a chain, in order of arrival.
    [[nodiscard]] const std::vector<record_chain>& chains() const { return chains_; }

private:
    [[nodiscard]] std::size_t chain_of(std::uint64_t key) const;
    void split(chunk_pool& pool, std::size_t place);
    [[nodiscard]] std::vector<std::uint64_t> lowest_keys_of_parts(std::size_t place) const;
    void make_guide();

    // The same place stands for the same chain in each.
    std::vector<record_chain> chains_ = std::vector<record_chain>(1);
    std::vector<std::uint64_t> lowest_keys_ = {0};
    std::vector<std::size_t> limits_ = {first_limit};  // of records: a chain that reaches it is split

    // Where to look for a key's chain. The keys from lowest_keys_[1] to the last are cut into stretches of
    // 2^guide_shift_; for each stretch this has the place of the chain that its first key belongs to, and at the end
    // that of the last chain. The chain of a key is then that of its stretch, that of the next stretch, or one of the
    // few between.
    std::vector<std::uint32_t> guide_;
    unsigned guide_shift_ = 0;

    static constexpr std::size_t first_limit = 65536;
};
