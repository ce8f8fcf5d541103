#include "journal/journal_collection.h"
#include "journal/ordered_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <random>

namespace {

journal_entry sample() {
    journal_entry entry;
    entry.valid = 1;
    entry.version = 4;
    entry.file_ref = entry.parent_ref = 1ULL << 48U;
    entry.usn = 8;
    entry.name = u"abc";
    entry.has_details = true;
    entry.details.extents = {{1, 2}, {3, 4}};
    return entry;
}

// Of what is read each once: the offset, and how many others are told of.
std::vector<std::pair<std::uint64_t, std::size_t>> read_once(const journal_collection& records,
                                                             std::uint64_t& repeats) {
    run_meter meter;
    ordered_reader reader(records, meter, true);
    journal_entry entry;
    std::vector<std::pair<std::uint64_t, std::size_t>> all;
    while (reader.next(entry)) all.emplace_back(entry.record_offset, entry.also_in.size());
    repeats = reader.repeats();
    return all;
}

}  // namespace

// A few records of a time are compared each with each, many by their hashes.
TEST(RepeatFilter, ADifferenceInOneBitOfAnyFieldStays) {
    const std::function<void(journal_entry&)> changes[] = {
        [](journal_entry& e) { e.file_ref ^= 1; },
        [](journal_entry& e) { e.parent_ref ^= 1ULL << 63U; },
        [](journal_entry& e) { e.usn ^= 1; },
        [](journal_entry& e) { e.timestamp ^= 1; },
        [](journal_entry& e) { e.reason ^= 1; },
        [](journal_entry& e) { e.source_info ^= 1; },
        [](journal_entry& e) { e.security_id ^= 1; },
        [](journal_entry& e) { e.file_attributes ^= 1U << 31U; },
        [](journal_entry& e) { e.name[2] ^= 1; },
        [](journal_entry& e) { e.name += u'\0'; },
        [](journal_entry& e) { e.version = 3; },
        [](journal_entry& e) { e.has_details = false; },
        [](journal_entry& e) { e.details.file_ref_high ^= 1; },
        [](journal_entry& e) { e.details.parent_ref_high ^= 1; },
        [](journal_entry& e) { e.details.remaining_extents ^= 1; },
        [](journal_entry& e) { e.details.extents[1].length ^= 1; },
        [](journal_entry& e) { e.details.extents.pop_back(); },
        [](journal_entry& e) { e.details.name_is_cut = true; },  // what was cut off may differ
        [](journal_entry& e) { e.valid = 0; },                   // no field of it is known
    };
    for (const std::size_t others : {0U, 40U}) {
        for (const auto& change : changes) {
            journal_collection records;
            journal_entry entry = sample();
            for (std::size_t i = 0; i < others; ++i) {
                entry.file_attributes = static_cast<std::uint32_t>(2 + i);
                records.add(entry);
            }
            entry = sample();
            entry.record_offset = 1;
            records.add(entry);
            change(entry);
            entry.record_offset = 2;
            records.add(entry);
            std::uint64_t repeats = 0;
            EXPECT_EQ(read_once(records, repeats).size(), others + 2) << &change - changes;
            EXPECT_EQ(repeats, 0U);
            entry = sample();
            entry.record_offset = 3;
            entry.origin = record_origin::slack;
            records.add(entry);
            EXPECT_EQ(read_once(records, repeats).size(), others + 2) << &change - changes;
            EXPECT_EQ(repeats, 1U);
        }
    }
}

TEST(RepeatFilter, TheFirstToArriveStaysAndTellsTheOthersOnce) {
    std::mt19937 random(3);
    for (const std::uint32_t times : {1U, 40U, 20'000U}) {
        journal_collection records;
        std::map<std::pair<std::uint64_t, std::uint32_t>, std::pair<std::uint64_t, std::map<std::string, int>>>
            expected;
        std::uint64_t count = 0;
        const std::string labels[] = {"", "", "a", "b", ""};
        for (std::size_t pass = 0; pass < std::size(labels); ++pass) {
            for (int i = 0; i < 4000; ++i) {
                journal_entry entry = sample();
                entry.timestamp = random() % times;
                entry.reason = static_cast<std::uint32_t>(random() % 700);
                entry.origin = static_cast<record_origin>(pass < 2 ? pass : pass < 4 ? 2 : 3);
                entry.snapshot_label = labels[pass];
                entry.record_offset = ++count;
                records.add(entry);
                const auto [at, is_new] =
                    expected.try_emplace({entry.timestamp, entry.reason}, count, std::map<std::string, int>{});
                if (!is_new) ++at->second.second[std::to_string(static_cast<int>(entry.origin)) + labels[pass]];
            }
        }
        std::vector<std::pair<std::uint64_t, std::uint64_t>> order;
        std::map<std::uint64_t, std::size_t> others;
        for (const auto& [key, value] : expected) {
            order.emplace_back(key.first, value.first);
            others[value.first] = value.second.size();
        }
        std::ranges::sort(order);
        std::vector<std::pair<std::uint64_t, std::size_t>> wanted;
        for (const auto& [time, offset] : order) wanted.emplace_back(offset, others[offset]);
        std::uint64_t repeats = 0;
        EXPECT_EQ(read_once(records, repeats), wanted);
        EXPECT_EQ(repeats, count - expected.size());
    }
}
