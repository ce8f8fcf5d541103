#include "journal/path_history.h"

#include "base/file_reference.h"
#include "journal/history_walk.h"
#include "journal/ordered_reader.h"
#include "journal/path_resolution.h"
#include "journal/volume_journal.h"
#include "ntfs/mft_rebuild.h"
#include "ntfs/opened_volume.h"
#include "ntfs/standard_information.h"
#include "support/volume_life.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

constexpr std::size_t page = 4096;
constexpr std::array words{"exact ", "likely ", "remnant ", "partial "};

struct run {
    explicit run(bool complete = false) : intake(meter, complete) {
        intake.gather_history();
        intake.records().number_pairs();
    }

    run_meter meter;
    journal_intake intake;
    progress shown;
};

// ---- Single rules ---------------------------------------------------------------------------------------------------

constexpr std::uint64_t first_usn = 0x10000, root = reference(5, 5), a = reference(40, 1), b = reference(41, 0xFFFF);

// A journal written by hand, what else there is to tell of directories, and what is asked of it.
class scene {
public:
    std::uint64_t say(std::uint64_t directory, std::uint64_t parent, std::u16string name, std::uint32_t reason = 1) {
        return say({.name = std::move(name), .file_ref = directory, .parent_ref = parent, .reason = reason});
    }
    // USNs are those of the place unless another one is given.
    std::uint64_t say(usn_record_builder record) {
        record.usn += first_usn + journal.size() - usn_record_builder{}.usn;
        record.attributes = 0x10;
        append(journal, record.build());
        return record.usn;
    }
    std::uint64_t child() { return say({.name = u"child", .file_ref = reference(99, 1)}); }
    void lose() { append(journal, bytes(16)); }

    // Children up to where so many bytes of the page are left, and what stands there.
    void end_page(std::size_t left, const bytes& rest = {}) {
        while (journal.size() + 72 + left <= page) child();
        append(journal, rest);
        fill_page(journal);
    }

    void mft_says(std::uint64_t entry, const mft_witness& says, mft_origin origin = mft_origin::volume,
                  std::uint64_t moment = 0) {
        mft = {origin, [=] { return static_cast<std::int64_t>(moment); },
               [=](std::uint64_t asked, mft_witness& found) {
                   found = says;
                   return asked == entry;
               }};
    }

    // Word and path of a directory at a USN, when all others were asked for in between and it at another one before.
    std::string ask(std::uint64_t directory, std::uint64_t usn, std::int64_t other = 0) const {
        directory_places places;
        history_walk walk(places);
        const placed_part all;
        walk.take(byte_view(journal), {&all, 1});
        if (cut) walk.lost();
        walk.finish();
        sound_record record;
        for (const usn_record_builder& one : carved) {
            const bytes whole = one.build();
            if (read_sound_stray(byte_view(whole), record)) walk.take_carved(record);
        }
        const std::uint32_t number = places.number_of(directory);
        places.finish(mft.ask ? &mft : nullptr);
        const auto count = static_cast<std::uint32_t>(places.size());
        path_history history(std::move(places), false);
        const auto asked = [&] { return history.path_at(number, static_cast<std::int64_t>(usn)); };
        const std::string first(asked().text);
        for (std::uint32_t one = 0; one < count; ++one) {
            (void)history.path_at(one, static_cast<std::int64_t>(usn));
            EXPECT_EQ(asked().text, first);
        }
        (void)history.path_at(number, other);
        const path_history::past_path path = asked();
        return words[static_cast<std::size_t>(path.basis)] + std::string(path.text);
    }

    bytes journal;
    bool cut = false;  // something behind it could not be read
    std::vector<usn_record_builder> carved;
    mft_testimony mft;
};

TEST(PathHistory, WitnessesInTheirOrder) {
    scene of;
    const std::uint64_t early = of.child();
    of.lose();
    const std::uint64_t before = of.child();
    const std::uint64_t first = of.say(a, root, u"one");
    of.say(a, reference(5, 77), u"two");
    const std::uint64_t after = of.child();
    of.lose();
    const std::uint64_t late = of.child();
    EXPECT_EQ(of.ask(a, after), "exact [root]\\two\\");
    EXPECT_EQ(of.ask(a, before), "exact [root]\\one\\");
    EXPECT_EQ(of.ask(a, first), "exact [root]\\one\\");
    EXPECT_EQ(of.ask(a, late), "likely [root]\\two\\");
    EXPECT_EQ(of.ask(a, early), "likely [root]\\one\\");
    EXPECT_EQ(of.ask(b, late), "partial [unknown 41-65535]\\");
    const struct {
        std::uint64_t usn, last;
        mft_origin origin;
        std::uint64_t moment;
        const char* told;
    } cases[] = {{late, late, mft_origin::volume, 0, "exact [root]\\now\\"},          // not changed behind
                 {late, 0, mft_origin::volume, 0, "exact [root]\\now\\"},             // no number, no gap to the end
                 {late, late + 8, mft_origin::volume, 0, "likely [root]\\two\\"},     // changed, and no record here
                 {late, first - 8, mft_origin::volume, 0, "likely [root]\\two\\"},    // there is a later change
                 {early, 0, mft_origin::volume, 0, "likely [root]\\one\\"},           //
                 {early, 8, mft_origin::exported, early, "exact [root]\\now\\"},      //
                 {early, 8, mft_origin::exported, 16, "likely [root]\\one\\"},        // a gap behind its moment
                 {late, after, mft_origin::exported, late, "exact [root]\\now\\"},    //
                 {late, after, mft_origin::exported, after, "likely [root]\\two\\"},  //
                 {late, 0, mft_origin::exported, late, "likely [root]\\two\\"},       //
                 {late, late, mft_origin::rebuilt, late, "likely [root]\\two\\"}};
    for (const auto& [usn, last, origin, moment, told] : cases) {
        of.mft_says(40, {true, 1, root, static_cast<std::int64_t>(last), u"now"}, origin, moment);
        EXPECT_EQ(of.ask(a, usn), told) << usn << " " << last;
    }
}

TEST(PathHistory, EntriesOfTheMft) {
    scene of;
    const std::uint64_t usn = of.child();
    const auto says = [&](bool in_use, std::uint16_t sequence, std::uint64_t last, std::uint64_t asked = b) {
        of.mft_says(41, {in_use, sequence, reference(5, 9), static_cast<std::int64_t>(last), u"b"});
        return of.ask(asked, usn);
    };
    EXPECT_EQ(says(true, 0xFFFF, 8), "exact [root]\\b\\");
    EXPECT_EQ(says(true, 0xFFFF, usn + 8), "likely [root]\\b\\");
    EXPECT_EQ(says(true, 0xFFFF, 0), "exact [root]\\b\\");
    of.cut = true;
    EXPECT_EQ(says(true, 0xFFFF, 0), "likely [root]\\b\\");
    EXPECT_EQ(says(true, 1, 8), "partial [unknown 41-65535]\\");
    EXPECT_EQ(says(false, 1, 8), "remnant [root]\\b\\");
    EXPECT_EQ(says(false, 0xFFFF, 8), "partial [unknown 41-65535]\\");
    EXPECT_EQ(says(false, 8, 8, reference(41, 7)), "remnant [root]\\b\\");
}

// Where there are no records the answer for one USN is none for the next.
TEST(PathHistory, AnswersHoldNoLongerThanTheMft) {
    scene of;
    of.mft_says(40, {true, 1, root, 800, u"now"}, mft_origin::exported, 1600);
    for (const std::int64_t other : {800, 792, 1600, 1608}) {
        EXPECT_EQ(of.ask(a, 792, other), "likely [root]\\now\\");
        EXPECT_EQ(of.ask(a, 800, other), "exact [root]\\now\\");
        EXPECT_EQ(of.ask(a, 1600, other), "exact [root]\\now\\");
        EXPECT_EQ(of.ask(a, 1608, other), "likely [root]\\now\\");
    }
}

TEST(PathHistory, AReferenceThatIsUsedAgain) {
    for (const bool gap : {false, true}) {
        scene of;
        of.say(a, root, u"one", 0x80000200);
        if (gap) of.lose();
        const std::uint64_t between = of.child();
        const std::uint64_t again = of.say(a, root, u"two", 0x100);
        of.mft_says(40, {true, 1, root, static_cast<std::int64_t>(again), u"now"});
        EXPECT_EQ(of.ask(a, between), gap ? "likely [root]\\one\\" : "exact [root]\\one\\");
    }
    scene still_open;  // a creation that ends in a deletion begins no life
    still_open.say(a, root, u"one", 0x80000200);
    still_open.lose();
    const std::uint64_t usn = still_open.child();
    still_open.say(a, root, u"two", 0x300);
    EXPECT_EQ(still_open.ask(a, usn), "exact [root]\\two\\");
}

TEST(PathHistory, CarvedRecords) {
    scene of;
    const std::uint64_t first = of.child();
    of.lose();
    const std::uint64_t last = of.child(), end = first_usn + of.journal.size();
    const std::pair<std::uint64_t, bool> cases[] = {{first - 72, true}, {first - 64, false}, {first, false},
                                                    {last - 16, false}, {last, false},       {end, false}};
    for (const auto& [usn, told] : cases) {
        of.carved = {{.name = u"old", .file_ref = a, .usn = usn, .attributes = 0x10}};
        EXPECT_EQ(of.ask(a, last), told ? "likely [root]\\old\\" : "partial [unknown 40-1]\\") << usn - first;
    }
}

TEST(PathHistory, WhatIsNoGapAndWhatIs) {
    const struct {
        const char* word;
        std::function<void(scene&)> between;
    } cases[] = {{"exact ", [](scene& of) { of.say({.version = 4}); }},
                 {"likely", [](scene& of) { of.say({.file_ref = 99}); }},  // no sequence number
                 {"likely", [](scene& of) { of.lose(); }},
                 {"exact ", [](scene& of) { of.end_page(0); }},
                 {"likely", [](scene& of) { of.end_page(72); }},
                 {"likely", [](scene& of) { of.end_page(0, {1}); }}};
    for (const auto& [word, between] : cases) {
        scene of;
        of.say(a, root, u"a23456");
        between(of);
        EXPECT_EQ(of.ask(a, of.child()).substr(0, 6), word) << &word - &cases[0].word;
    }
}

TEST(PathHistory, ARecordThatStandsWhereItsNeighboursSay) {
    scene of;
    of.say(a, root, u"a");
    of.lose();
    const std::uint64_t usn = of.child();
    of.say({.name = u"b", .file_ref = b, .usn = 0x2000});
    of.child();
    of.lose();
    of.say({.name = u"c", .file_ref = reference(42, 1), .usn = 0x3000});
    EXPECT_EQ(of.ask(a, usn), "likely [root]\\a\\");  // alone, but as far from its USN as the next
    EXPECT_EQ(of.ask(b, usn), "partial [unknown 41-65535]\\");
    EXPECT_EQ(of.ask(reference(42, 1), usn), "partial [unknown 42-1]\\");
    scene first;  // the USN of the second follows, its place does not
    first.say(a, root, u"a");
    first.lose();
    first.say({.name = u"b", .file_ref = b, .usn = 0x1000 - 16});
    EXPECT_EQ(first.ask(a, usn), "partial [unknown 40-1]\\");
}

TEST(PathHistory, NoEndAboveAndNoneBelow) {
    scene of;
    of.say(a, b, u"a");
    of.say(b, a, u"b");
    of.say(reference(50, 1), b, u"below");
    for (std::uint64_t i = 0; i < 300; ++i) of.say(reference(1000 + i, 1), i == 0 ? root : reference(999 + i, 1), u"d");
    const std::uint64_t usn = of.child();
    EXPECT_EQ(of.ask(a, usn), "partial [unknown 40-1]\\b\\a\\");
    EXPECT_EQ(of.ask(reference(50, 1), usn), "partial [unknown 41-65535]\\a\\b\\below\\");
    std::string deep;
    for (int levels = 0; levels < 256; ++levels) deep += "d\\";
    EXPECT_EQ(of.ask(reference(1255, 1), usn), "exact [root]\\" + deep);
    EXPECT_EQ(of.ask(reference(1256, 1), usn), "partial [unknown 1000-1]\\" + deep);
}

// A reference that is a parent is a directory, whatever its records call it; a carved copy of a record stands where
// that one does, any other carved record is likely at best.
TEST(PathHistory, WhatIsFoundOutOnceAllRecordsAreThere) {
    bytes journal = usn_record_builder{.file_ref = a, .usn = page}.build(), other;
    usn_record_builder child{.file_ref = reference(99, 1), .parent_ref = a, .usn = page + journal.size()};
    for (bytes* const to : {&journal, &other}) append(*to, child.build());
    child.reason = 0x80000001;
    append(other, child.build());
    for (bytes* const to : {&journal, &other}) fill_page(*to);
    run one;
    one.intake.walk(byte_view(journal, page));
    one.intake.end_walk();
    one.intake.carve(byte_view(other, 1U << 20U), {.origin = record_origin::slack, .entry_bound = 1000, .label = {}});
    resolve_past_paths(one.intake.records(), one.intake.take_history(), false);
    ordered_reader records(one.intake.records(), one.meter);
    std::string text;
    for (journal_entry entry; records.next(entry);) {
        text += words[static_cast<std::size_t>(entry.basis)] + std::string(entry.parent_path) + " ";
    }
    EXPECT_EQ(text,
              "exact [root]\\ exact [root]\\report.docx\\ exact [root]\\report.docx\\ likely [root]\\report.docx\\ ");
}

// ---- Whole lives ----------------------------------------------------------------------------------------------------

constexpr std::uint64_t journal_lcn = 32;

// What is left of a journal: its last part, of which spans are zeroed, pages cut out of the file or unreadable.
struct leftover {
    enum class fate : std::uint8_t { there, cut, unreadable };

    explicit leftover(const volume_life& life, std::size_t part = 1)
        : journal(life.journal()), usn(life.first_usn + journal.size() / page * (part - 1) / part * page) {
        journal.erase(journal.begin(), journal.begin() + static_cast<std::ptrdiff_t>(usn - life.first_usn));
    }

    // The spans begin anywhere in a record and end behind its end.
    void damage(const volume_life& life, std::mt19937_64& random) {
        for (std::uint64_t spans = 1 + random() % 6; spans != 0; --spans) {
            const usn_record_builder& one = life.records[random() % life.records.size()].record;
            const std::size_t at = one.usn - usn, kind = random() % 6;
            if (kind < 2) pages[at / page] = kind == 0 ? fate::cut : fate::unreadable;
            const std::size_t begin = at + (random() % 2 == 0 ? 0 : random() % one.size());
            const std::size_t more = random() % 2 == 0 ? 0 : random() % (random() % 2 == 0 ? 200 : 9000);
            const std::size_t end = std::min(journal.size(), at + one.size() + more);
            if (kind >= 2) std::fill_n(journal.data() + begin, end - begin, std::uint8_t{0});
        }
    }

    [[nodiscard]] bool has(const usn_record_builder& one) const {
        const bytes whole = one.build();
        const std::size_t at = one.usn - usn;
        return pages[at / page] == fate::there &&
               std::ranges::equal(whole, std::span(journal).subspan(at, whole.size()));
    }

    // A record that is gone from a page's end is not missed where the next one would have had no room behind the last.
    [[nodiscard]] bool loses_unseen(const volume_life& life) const {
        std::uint64_t end = 0;
        bool missing = false;
        for (const auto& [one, path] : life.records) {
            if (has(one) && missing && one.usn % page == 0 && one.usn - end < one.size()) return true;
            missing = !has(one);
            if (!missing) end = one.usn + one.size();
        }
        return false;
    }

    bytes journal;
    std::uint64_t usn;  // of its first byte
    std::vector<fate> pages = std::vector<fate>(journal.size() / page);
};

// The MFT at some time, and what is left of the journal at its place behind a hole.
bytes image_of(const volume_life::entries& entries, const leftover& left) {
    constexpr std::uint16_t directory = mft_record::flag_directory, used = mft_record::flag_in_use;
    ntfs_image_builder made;
    made.build();
    const std::uint64_t before = left.usn / page;
    std::vector<made_run> runs{{journal_lcn, left.journal.size() / page}};
    if (before != 0) runs.insert(runs.begin(), {hole, before});
    made.put(5, {.attributes = {index_root({11})}, .flags = used | directory, .sequence = 5});
    made.put(
        11, {.attributes = {name_attribute(u"$Extend", reference(5, 5)), index_root({12})}, .flags = used | directory});
    made.put(12,
             {.attributes = {name_attribute(u"$UsnJrnl", reference(11, 1)),
                             {.name = u"$J", .runs = run_list(runs), .real_size = left.usn + left.journal.size()}}});
    for (const auto& [number, one] : entries) {
        if (number == 5 || one.name.empty()) continue;
        made_attribute information{.type = attribute_type::standard_information, .value = bytes(72)};
        poke<std::uint64_t>(information.value, standard_information_value::last_usn,
                            number % 2 == 0 ? one.last_usn : 0);  // which may be missing
        made.put(number,
                 {.attributes = {information, name_attribute(u"SHORT~1", 0, name_space::dos),
                                 name_attribute(one.name, reference(one.parent, entries.at(one.parent).sequence),
                                                name_space::win32)},
                  .flags = static_cast<std::uint16_t>((one.in_use ? used : 0) | (one.directory ? directory : 0)),
                  .sequence = one.sequence});
    }
    made.write(journal_lcn * page, left.journal);
    return made.image;
}

enum class source : std::uint8_t { volume, rebuilt, files, journal };

// Files have lost what was cut out of them and what could not be read, volumes cannot read either.
void read(const leftover& left, opened_volume& disk, source from, run& to) {
    for (std::size_t at = 0, offset = 0; at < left.journal.size(); at += page) {
        const leftover::fate fate = left.pages[at / page];
        const std::size_t on_disk = journal_lcn * page + at;
        if (fate != leftover::fate::there) disk.faults.bad.emplace_back(on_disk, on_disk + page);
        if (from < source::files || fate == leftover::fate::cut) continue;
        if (fate == leftover::fate::unreadable) {
            to.intake.lose(1, page);
        } else {
            to.intake.walk(byte_view(std::span(left.journal).subspan(at, page), offset));
        }
        offset += page;
    }
    if (from >= source::files) return;
    EXPECT_TRUE(from == source::volume ? disk.volume.mount()
                                       : rebuild_mft(disk.volume, to.shown) == rebuild_result::rebuilt);
    EXPECT_EQ(read_volume_journal(disk.volume, to.intake, to.shown, [] {}), journal_found::yes);
    to.intake.lose(1, 4096);  // while carving, which is no gap of the journal
}

// How many paths there are of each word, and how many of them are wrong.
struct tally {
    std::array<int, 4> all{}, wrong{};

    // A whole run. `entries`: of the volume, or of the exported MFT.
    void judge(const volume_life& life, const leftover& left, const volume_life::entries& entries, source from) {
        run one(life.records.size() % 2 == 0);  // or as -complete reads
        const bytes image = image_of(entries, left);
        opened_volume disk(image);
        read(left, disk, from, one);
        if (from == source::files) {
            disk_reader reader;
            reader.open(std::make_unique<memory_source>(
                bytes(&image[ntfs_image_builder::mft_lcn * page], &image[journal_lcn * page])));
            EXPECT_TRUE(disk.volume.open_mft_file(std::move(reader)));
        }
        if (from == source::journal) {
            resolve_past_paths(one.intake.records(), one.intake.take_history(), false);
        } else {
            EXPECT_TRUE(
                resolve_journal_paths(one.intake.records(), disk.volume, {}, one.shown, one.intake.take_history()));
        }
        std::map<std::int64_t, const volume_life::lived_record*> lived;
        for (const auto& record : life.records) lived[static_cast<std::int64_t>(record.record.usn)] = &record;
        ordered_reader records(one.intake.records(), one.meter);
        for (journal_entry entry; records.next(entry);) {
            const auto at = lived.find(entry.usn);
            if (at == lived.end() || entry.file_ref != at->second->record.file_ref) continue;
            const auto word = static_cast<std::size_t>(entry.basis);
            ++all[word];
            if (entry.parent_path == at->second->path) continue;
            ++wrong[word];
            EXPECT_NE(entry.basis, path_basis::exact) << entry.parent_path << " for " << at->second->path;
        }
    }
};

TEST(PathHistory, WholeOrTheLastOfAJournal) {
    for (const std::size_t part : {1U, 2U, 5U}) {
        tally volumes, files;
        for (std::uint64_t seed = 1; seed <= LORQ_VOLUME_LIVES; ++seed) {
            volume_life life(seed, seed % 3 * 0x100000);
            life.go_on(400);
            const leftover left(life, part);
            volumes.judge(life, left, life.mft, source::volume);
            files.judge(life, left, life.mft, source::files);
        }
        EXPECT_EQ(volumes.wrong, (std::array<int, 4>{}));
        EXPECT_EQ(files.wrong, (std::array<int, 4>{}));
        EXPECT_EQ(volumes.all, (std::array{files.all[0] + files.all[1], 0, 0, 0}));
        EXPECT_GT(volumes.all[0], 50 * LORQ_VOLUME_LIVES);
    }
}

TEST(PathHistory, WhatIsMissingIsNeverExactAndWrong) {
    tally found;
    for (std::uint64_t seed = 1; seed <= LORQ_VOLUME_LIVES; ++seed) {
        std::mt19937_64 random(seed);
        volume_life life(seed, seed % 3 * 0x100000);
        life.go_on(100 + seed % 200);
        const volume_life::entries before = life.mft;
        life.go_on(400);
        leftover left(life);
        left.damage(life, random);
        if (left.loses_unseen(life)) continue;
        for (const source from : {source::volume, source::rebuilt, source::files, source::journal}) {
            found.judge(life, left, life.mft, from);
        }
        found.judge(life, left, before, source::files);
        left.journal.resize(left.journal.size() / page / 2 * page);
        found.judge(life, left, life.mft, source::files);  // of later than its end
    }
    EXPECT_GT(found.all[0], 1000 * LORQ_VOLUME_LIVES);
}

}  // namespace
