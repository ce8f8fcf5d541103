#include "journal/journal_collection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

TEST(JournalCollection, KeepsKeyOrderAndArrivalAmongEquals) {
    std::mt19937_64 random(7);
    // Spread over all 64 bits, in a narrow band, with many equal keys and zeros, ascending.
    const std::vector<std::function<std::uint64_t(std::uint64_t)>> shapes = {
        [&](std::uint64_t) { return random(); },
        [&](std::uint64_t) { return 133'000'000'000'000'000 + random() % 1'000'000; },
        [&](std::uint64_t) { return random() % 5 == 0 ? 0 : 133'000'000'000'000'000 + random() % 50; },
        [](std::uint64_t i) { return i; },
        [](std::uint64_t i) { return i % 1000 == 999 ? 0 : ~std::uint64_t{0} - 100'000 + i; },
        [](std::uint64_t) { return std::uint64_t{0}; },
    };
    for (const std::size_t count : {0U, 1U, 2U, 40'000U}) {
        for (std::size_t shape = 0; shape < shapes.size(); ++shape) {
            journal_collection journal;
            journal_entry entry;
            std::vector<std::pair<std::uint64_t, std::int64_t>> expected;
            for (std::size_t i = 0; i < count; ++i) {
                entry.timestamp = shapes[shape](i);
                entry.usn = static_cast<std::int64_t>(i);
                journal.add(entry);
                expected.emplace_back(entry.timestamp, entry.usn);
            }
            std::ranges::stable_sort(expected, {}, &std::pair<std::uint64_t, std::int64_t>::first);
            journal.put_in_order();
            ASSERT_EQ(journal.size(), count);
            for (std::size_t i = 0; i < count; ++i) {
                journal.read_in_order(i, entry);
                ASSERT_EQ(std::pair(entry.timestamp, entry.usn), expected[i]) << "shape " << shape << ", place " << i;
            }
        }
    }
}

TEST(JournalCollection, GivesBackWhatWasPutIn) {
    journal_collection journal;
    const auto make = [](std::size_t i) {
        journal_entry entry;
        entry.valid = i % 2;
        entry.file_ref = i << 40U;
        entry.parent_ref = ~i;
        entry.usn = -static_cast<std::int64_t>(i);
        entry.timestamp = i / 3;
        entry.reason = static_cast<std::uint32_t>(i * 3);
        entry.source_info = static_cast<std::uint32_t>(i * 5);
        entry.security_id = static_cast<std::uint32_t>(i * 7);
        entry.file_attributes = static_cast<std::uint32_t>(i * 11);
        entry.name = std::u16string(i % 201, static_cast<char16_t>(i));
        entry.record_offset = i * i;
        entry.from_unalloc = i % 5 == 1;
        entry.from_vss = i % 5 == 2;
        entry.from_slack = i % 5 == 3;
        entry.snapshot_label = i < 100 || i > 9000 ? "" : i < 5000 ? "SnapID: a" : "SnapID: b";
        return entry;
    };
    constexpr std::size_t count = 20'000;  // several blocks of slots and of names
    for (std::size_t i = 0; i < count; ++i) journal.add(make(i));
    journal.put_in_order();
    journal_entry got;
    for (std::size_t i = 0; i < count; ++i) {
        journal.read_in_order(i, got);
        const journal_entry want = make(i);
        ASSERT_EQ(
            std::tie(got.valid, got.file_ref, got.parent_ref, got.usn, got.timestamp, got.reason, got.source_info),
            std::tie(want.valid, want.file_ref, want.parent_ref, want.usn, want.timestamp, want.reason,
                     want.source_info));
        ASSERT_EQ(std::tie(got.security_id, got.file_attributes, got.name, got.record_offset, got.snapshot_label),
                  std::tie(want.security_id, want.file_attributes, want.name, want.record_offset, want.snapshot_label));
        ASSERT_EQ(std::tie(got.from_unalloc, got.from_vss, got.from_slack),
                  std::tie(want.from_unalloc, want.from_vss, want.from_slack));
    }
}

}  // namespace
