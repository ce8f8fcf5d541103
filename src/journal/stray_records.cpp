#include "journal/stray_records.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

packed_record* stray_records::append(chunk_pool& pool, std::uint64_t key, std::size_t name_units) {
    std::size_t place = chain_of(key);
    if (chains_[place].size() >= limits_[place] && !chains_[place].in_order()) {
        split(pool, place);
        place = chain_of(key);
    }
    return chains_[place].append(pool, key, name_units);
}

// The last one whose lowest key is not above `key`. Without a branch, since the way taken is anybody's guess.
std::size_t stray_records::chain_of(std::uint64_t key) const {
    if (lowest_keys_.size() == 1 || key < lowest_keys_[1]) return 0;
    if (key >= lowest_keys_.back()) return lowest_keys_.size() - 1;
    const auto stretch = static_cast<std::size_t>((key - lowest_keys_[1]) >> guide_shift_);
    const std::uint64_t* base = &lowest_keys_[guide_[stretch]];
    for (std::size_t left = guide_[stretch + 1] - guide_[stretch] + 1; left > 1;) {
        const std::size_t half = left / 2;
        base += base[half] <= key ? half : 0;
        left -= half;
    }
    return static_cast<std::size_t>(base - lowest_keys_.data());
}

void stray_records::make_guide() {
    constexpr unsigned bits = 12;
    const std::uint64_t span = lowest_keys_.back() - lowest_keys_[1];
    const auto span_bits = static_cast<unsigned>(std::bit_width(span));
    guide_shift_ = span_bits > bits ? span_bits - bits : 0;
    guide_.clear();
    std::uint32_t chain = 1;
    for (std::uint64_t stretch = 0; stretch <= span >> guide_shift_; ++stretch) {
        const std::uint64_t begin = lowest_keys_[1] + (stretch << guide_shift_);
        while (chain + 1 < lowest_keys_.size() && lowest_keys_[chain + 1] <= begin) ++chain;
        guide_.push_back(chain);
    }
    guide_.push_back(static_cast<std::uint32_t>(lowest_keys_.size() - 1));
}

// Into about `parts` chains of equal size. A chain that has but one key stays, and gets twice the time before the next
// try.
void stray_records::split(chunk_pool& pool, std::size_t place) {
    const std::vector<std::uint64_t> lowest = lowest_keys_of_parts(place);
    if (lowest.empty()) {
        limits_[place] *= 2;
        return;
    }
    record_chain whole = std::exchange(chains_[place], record_chain());
    const auto behind = static_cast<std::ptrdiff_t>(place) + 1;
    chains_.insert(chains_.begin() + behind, lowest.size(), record_chain());
    lowest_keys_.insert(lowest_keys_.begin() + behind, lowest.begin(), lowest.end());
    limits_[place] = first_limit;
    limits_.insert(limits_.begin() + behind, lowest.size(), first_limit);
    make_guide();
    whole.empty_into(pool, [&](const packed_record& record) {
        record_chain& part = chains_[chain_of(record.timestamp)];
        std::memcpy(static_cast<void*>(part.append(pool, record.timestamp, record.name_units)), &record,
                    record.bytes());
    });
}

// Where the parts of a chain begin, the first one apart: quantiles of a sample of its keys.
std::vector<std::uint64_t> stray_records::lowest_keys_of_parts(std::size_t place) const {
    constexpr std::size_t parts = 32;
    constexpr std::size_t samples = 1024;
    const std::size_t step = std::max<std::size_t>(1, chains_[place].size() / samples);
    std::vector<std::uint64_t> sample;
    record_chain::cursor at(chains_[place]);
    for (std::size_t i = 0; const packed_record* const record = at.next(); ++i) {
        if (i % step == 0) sample.push_back(record->timestamp);
    }
    std::ranges::sort(sample);
    std::vector<std::uint64_t> lowest;
    for (std::size_t part = 1; part < parts; ++part) {
        const std::uint64_t key = sample[sample.size() * part / parts];
        if (key > (lowest.empty() ? lowest_keys_[place] : lowest.back())) lowest.push_back(key);
    }
    return lowest;
}
