#include "journal/path_history.h"

#include "base/file_reference.h"
#include "journal/history_walk.h"
#include "support/volume_life.h"

#include <gtest/gtest.h>

namespace {

constexpr std::size_t page = 4096;

struct tally {
    std::array<int, 4> all{}, wrong{};

    void operator+=(const tally& other) {
        for (std::size_t i = 0; i < all.size(); ++i) all[i] += other.all[i], wrong[i] += other.wrong[i];
    }
};

struct exported_mft {
    volume_life::entries entries;
    mft_origin origin = mft_origin::volume;

    [[nodiscard]] mft_testimony testimony() const {
        std::uint64_t moment = 0;
        for (const auto& [number, one] : entries) moment = std::max(moment, one.last_usn);
        const auto ask = [this](std::uint64_t number, mft_witness& found) {
            const auto at = entries.find(number);
            if (at == entries.end()) return false;
            const volume_life::lived_entry& one = at->second;
            found = {one.in_use, one.sequence, reference(one.parent, entries.at(one.parent).sequence),
                     static_cast<std::int64_t>(one.last_usn), one.name};
            return true;
        };
        return {origin, static_cast<std::int64_t>(moment), ask};
    }
};

// What is left of a journal: its pages from `begin` on without those that were cut out, or could not be read.
struct leftover {
    bytes journal;
    std::uint64_t first_usn = 0;
    std::vector<bool> cut = std::vector<bool>(journal.size() / page), unreadable = cut;
    bool as_file = true;  // stream offsets are those of what is left
    std::size_t begin = 0;

    [[nodiscard]] bool has(const volume_life::lived_record& one) const {
        const std::size_t at = one.record.usn - first_usn;
        const bytes whole = one.record.build();
        return at >= begin && at < journal.size() && !cut[at / page] && !unreadable[at / page] &&
               std::equal(whole.begin(), whole.end(), journal.begin() + static_cast<std::ptrdiff_t>(at));
    }
};

tally judge(const volume_life& life, const leftover& left, const exported_mft* mft) {
    directory_places places;
    history_walk walk(places);
    std::uint64_t offset = 0;
    for (std::size_t at = left.begin; at < left.journal.size(); at += page) {
        if (left.cut[at / page]) continue;
        const byte_view chunk(std::span(left.journal).subspan(at, page), at);
        if (left.unreadable[at / page]) walk.lost();
        else walk.take(chunk, left.as_file ? offset : left.first_usn + at);
        offset += page;
    }
    walk.finish();
    for (const auto& one : life.records()) (void)places.number_of(one.record.parent_ref);
    const mft_testimony testimony = mft != nullptr ? mft->testimony() : mft_testimony{};
    places.finish(mft != nullptr ? &testimony : nullptr);

    std::vector<std::uint32_t> directories;
    for (const auto& one : life.records()) directories.push_back(places.number_of(one.record.parent_ref));
    path_history history(std::move(places));
    tally found;
    for (std::size_t i = 0; i < directories.size(); ++i) {
        const auto& one = life.records()[i];
        if (!left.has(one)) continue;
        EXPECT_FALSE(walk.is_doubtful(one.record.usn - left.first_usn));
        const path_history::past_path path =
            history.path_at(directories[i], static_cast<std::int64_t>(one.record.usn));
        const auto word = static_cast<std::size_t>(path.basis);
        ++found.all[word];
        if (path.text == one.path) continue;
        ++found.wrong[word];
        EXPECT_NE(path.basis, path_basis::exact) << path.text << " for " << one.path << " at " << one.record.usn;
    }
    return found;
}

void show(const char* what, const tally& of) {
    std::printf("%-40s exact %d (%d) likely %d (%d) remnant %d (%d) partial %d (%d)\n", what, of.all[0], of.wrong[0],
                of.all[1], of.wrong[1], of.all[2], of.wrong[2], of.all[3], of.wrong[3]);
}

TEST(PathHistory, WholeOrTheLastOfAJournal) {
    for (const std::size_t part : {1U, 2U, 5U}) {
        tally with_mft, without;
        for (std::uint64_t seed = 1; seed <= 200; ++seed) {
            volume_life life(seed, seed % 3 * 0x100000);
            while (life.records().size() < 400) life.go_on();
            leftover left{life.journal(), seed % 3 * 0x100000};
            left.begin = left.journal.size() / page * (part - 1) / part * page;
            left.as_file = seed % 2 == 0;
            const exported_mft mft{life.mft(), seed % 2 == 0 ? mft_origin::exported : mft_origin::volume};
            with_mft += judge(life, left, &mft);
            without += judge(life, left, nullptr);
        }
        show("with MFT", with_mft);
        show("without", without);
    }
}

// Loses some of a journal: spans zeroed from anywhere in a record to behind its end, pages cut out or unreadable.
void damage(leftover& left, const volume_life& life, std::mt19937_64& random) {
    for (std::uint64_t i = 0, spans = 1 + random() % 6; i < spans; ++i) {
        const auto& one = life.records()[random() % life.records().size()];
        const std::size_t at = one.record.usn - left.first_usn;
        const std::size_t begin = at + random() % one.record.size();
        const std::size_t most = random() % 2 == 0 ? 200 : 9000;
        const std::size_t end = std::min(left.journal.size(), at + one.record.size() + random() % most);
        switch (random() % 6) {
            case 0: left.cut[at / page] = left.as_file; break;
            case 1: left.unreadable[at / page] = true; break;
            default: std::fill(left.journal.begin() + static_cast<std::ptrdiff_t>(begin), left.journal.begin() + static_cast<std::ptrdiff_t>(end), 0); break;
        }
    }
}

// A record that is gone from a page's end is not missed where the next one would have had no room behind the last.
bool loses_unseen(const leftover& left, const volume_life& life) {
    std::uint64_t end = 0;
    bool missing = false;
    for (const auto& one : life.records()) {
        if (!left.has(one)) {
            missing = true;
            continue;
        }
        if (missing && one.record.usn % page == 0 && one.record.usn - end < one.record.size()) return true;
        missing = false;
        end = one.end();
    }
    return false;
}

TEST(PathHistory, WhatIsMissingIsNeverExactAndWrong) {
    tally own, earlier, later, rebuilt, none;
    int unseen = 0;
    for (std::uint64_t seed = 1; seed <= 600; ++seed) {
        std::mt19937_64 random(seed);
        volume_life life(seed, seed % 3 * 0x100000);
        while (life.records().size() < 100 + seed % 200) life.go_on();
        const exported_mft before{life.mft(), mft_origin::exported};
        while (life.records().size() < 400) life.go_on();
        leftover left{life.journal(), seed % 3 * 0x100000};
        left.as_file = seed % 2 == 0;
        const exported_mft after{life.mft(), mft_origin::volume};
        damage(left, life, random);
        if (loses_unseen(left, life)) {
            ++unseen;
            continue;
        }
        own += judge(life, left, &after);
        earlier += judge(life, left, &before);
        const exported_mft together{life.mft(), mft_origin::rebuilt};
        rebuilt += judge(life, left, &together);
        none += judge(life, left, nullptr);
        leftover beginning = left;
        beginning.journal.resize(beginning.journal.size() / page / 2 * page);
        const exported_mft much_later{life.mft(), mft_origin::exported};
        volume_life first_half = life;
        later += judge(first_half, beginning, &much_later);
    }
    show("own", own);
    show("earlier", earlier);
    show("later", later);
    show("rebuilt", rebuilt);
    show("none", none);
    std::printf("%d unseen\n", unseen);
}

}  // namespace
