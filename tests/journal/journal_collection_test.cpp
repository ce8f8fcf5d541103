#include "journal/journal_collection.h"
#include "journal/ordered_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

// Keys spread over all 64 bits, in a narrow band with many equal keys and zeros, ascending with zeros between, and all
// late ones but the first alike, so that their run cannot be split.
TEST(JournalCollection, KeepsKeyOrderAndArrivalAmongEquals) {
    std::mt19937_64 random(7);
    const std::function<std::uint64_t(std::uint64_t)> shapes[] = {
        [&](std::uint64_t) { return random(); },
        [&](std::uint64_t) { return random() % 5 == 0 ? 0 : 133'000'000'000'000'000 + random() % 50; },
        [&](std::uint64_t i) { return i % 1000 == 999 ? 0 : ~std::uint64_t{0} - 500'000 + i; },
        [&](std::uint64_t i) -> std::uint64_t { return i == 0   ? 7
                                                       : i == 1 ? 6
                                                                : 5; }};
    for (const std::size_t count : {0U, 1U, 2U, 300'000U}) {
        for (const auto& shape : shapes) {
            journal_collection journal;
            journal_entry entry;
            std::vector<std::pair<std::uint64_t, std::int64_t>> expected;
            for (; expected.size() < count; expected.emplace_back(entry.timestamp, entry.usn)) {
                entry.timestamp = shape(expected.size());
                entry.usn = std::ssize(expected);
                journal.add(entry);
            }
            std::ranges::stable_sort(expected, {}, &std::pair<std::uint64_t, std::int64_t>::first);
            ASSERT_EQ(journal.size(), count);
            run_meter meter;
            ordered_reader records(journal, meter);
            for (std::size_t i = 0; i < count; ++i) {
                ASSERT_TRUE(records.next(entry));
                ASSERT_EQ(std::pair(entry.timestamp, entry.usn), expected[i]) << &shape - shapes << " at " << i;
            }
        }
    }
}

TEST(JournalCollection, GivesBackWhatWasPutIn) {
    const auto make = [](std::size_t i) {
        const auto small = static_cast<std::uint32_t>(i);
        journal_entry entry;
        entry.fields() = {i << 40U,  ~i,        -static_cast<std::int64_t>(i), i / 3, small * 3, small * 5,
                          small * 7, small * 11};
        entry.valid = i % 2;
        entry.record_offset = i * i;
        entry.name.assign(i % 201, static_cast<char16_t>(i));
        entry.origin = static_cast<record_origin>(i % 4);
        entry.snapshot_label = i < 100 || i > 9000 ? "" : i < 5000 ? "SnapID: a" : "SnapID: b";
        return entry;
    };
    const auto fields = [](const journal_entry& e) {
        return std::tie(e.fields(), e.valid, e.name, e.record_offset, e.snapshot_label, e.origin);
    };
    constexpr std::size_t count = 20'000;  // several blocks of memory
    journal_collection journal;
    for (std::size_t i = 0; i < count; ++i) journal.add(make(i));
    run_meter meter;
    ordered_reader records(journal, meter);
    journal_entry got;
    for (std::size_t i = 0; i < count; ++i) {
        ASSERT_TRUE(records.next(got));
        const journal_entry want = make(i);
        ASSERT_TRUE(fields(got) == fields(want)) << i;
    }
}
