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
        return {origin, [moment] { return static_cast<std::int64_t>(moment); }, ask};
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
        const byte_view chunk(std::span(left.journal).subspan(at, page), left.as_file ? offset : left.first_usn + at);
        const placed_part whole{.begin = 0, .offset = at};
        if (left.unreadable[at / page])
            walk.lost();
        else
            walk.take(chunk, {&whole, 1});
        offset += page;
    }
    walk.finish();
    for (const auto& one : life.records()) (void)places.number_of(one.record.parent_ref);
    const mft_testimony testimony = mft != nullptr ? mft->testimony() : mft_testimony{};
    places.finish(mft != nullptr ? &testimony : nullptr);

    std::vector<std::uint32_t> directories;
    for (const auto& one : life.records()) directories.push_back(places.number_of(one.record.parent_ref));
    path_history history(std::move(places), false);
    tally found;
    std::vector<std::string> texts(directories.size());
    for (std::size_t i = 0; i < directories.size(); ++i) {
        const auto& one = life.records()[i];
        if (!left.has(one)) continue;
        EXPECT_FALSE(walk.is_doubtful(one.record.usn - left.first_usn));
        const path_history::past_path path = history.path_at(directories[i], static_cast<std::int64_t>(one.record.usn));
        const auto word = static_cast<std::size_t>(path.basis);
        ++found.all[word];
        texts[i] = path.text;
        texts[i] += static_cast<char>(word);
        if (path.text == one.path) continue;
        ++found.wrong[word];
        EXPECT_NE(path.basis, path_basis::exact) << path.text << " for " << one.path << " at " << one.record.usn;
    }
    std::mt19937_64 random(directories.size());
    for (std::size_t count = 0; count < directories.size(); ++count) {  // in any order the answers are the same
        const std::size_t i = random() % directories.size();
        if (texts[i].empty()) continue;
        const auto path = history.path_at(directories[i], static_cast<std::int64_t>(life.records()[i].record.usn));
        EXPECT_EQ(std::string(path.text) + static_cast<char>(path.basis), texts[i]);
    }
    return found;
}

// ---- The same by a whole run ----------------------------------------------------------------------------------------

constexpr std::uint64_t journal_lcn = 32;

made_attribute standard_information(std::uint64_t last_usn) {
    made_attribute made{.type = attribute_type::standard_information, .value = bytes(72)};
    poke<std::uint64_t>(made.value, standard_information_value::last_usn, last_usn);
    return made;
}

// The MFT at some time, and what is left of the journal at its place behind a hole.
bytes image_of(const volume_life::entries& entries, const leftover& left) {
    constexpr std::uint16_t directory = mft_record::flag_directory, used = mft_record::flag_in_use;
    ntfs_image_builder made;
    made.build();
    const auto begin = left.journal.begin() + static_cast<std::ptrdiff_t>(left.begin);
    const std::uint64_t before = (left.first_usn + left.begin) / page,
                        clusters = (left.journal.size() - left.begin) / page;
    std::vector<made_run> runs{{journal_lcn, clusters}};
    if (before != 0) runs.insert(runs.begin(), {hole, before});
    made.put(5, {.attributes = {index_root({11})}, .flags = used | directory, .sequence = 5});
    made.put(
        11, {.attributes = {name_attribute(u"$Extend", reference(5, 5)), index_root({12})}, .flags = used | directory});
    made.put(12, {.attributes = {name_attribute(u"$UsnJrnl", reference(11, 1)),
                                 {.name = u"$J", .runs = run_list(runs), .real_size = (before + clusters) * page}}});
    for (const auto& [number, one] : entries) {
        if (number == 5 || one.name.empty()) continue;
        const auto flags = static_cast<std::uint16_t>((one.in_use ? used : 0) | (one.directory ? directory : 0));
        made.put(number,
                 {.attributes = {standard_information(one.last_usn), name_attribute(u"SHORT~1", 0, name_space::dos),
                                 name_attribute(one.name, reference(one.parent, entries.at(one.parent).sequence),
                                                name_space::win32)},
                  .flags = flags,
                  .sequence = one.sequence});
    }
    made.write(journal_lcn * page, {begin, left.journal.end()});
    return made.image;
}

struct run {
    run() {
        intake.gather_history();
        intake.records().number_pairs();
    }

    // As with -file; pages that cannot be read are lost.
    void read_file(const leftover& left) {
        for (std::size_t at = left.begin, offset = 0; at < left.journal.size(); at += page) {
            if (left.cut[at / page]) continue;
            if (left.unreadable[at / page]) {
                intake.lose(1, page);
            } else {
                intake.walk(byte_view(std::span(left.journal).subspan(at, page), offset));
            }
            offset += page;
        }
    }

    tally judge(const volume_life& life) {
        std::map<std::int64_t, const volume_life::lived_record*> lived;
        for (const auto& one : life.records()) lived[static_cast<std::int64_t>(one.record.usn)] = &one;
        tally found;
        ordered_reader records(intake.records(), meter);
        journal_entry entry;
        while (records.next(entry)) {
            const auto at = lived.find(entry.usn);
            if (at == lived.end() || entry.file_ref != at->second->record.file_ref) continue;
            const auto word = static_cast<std::size_t>(entry.basis);
            ++found.all[word];
            if (entry.parent_path == at->second->path) continue;
            ++found.wrong[word];
            EXPECT_NE(entry.basis, path_basis::exact) << entry.parent_path << " for " << at->second->path;
        }
        return found;
    }

    run_meter meter;
    journal_intake intake{meter};
    progress shown;
};

enum class source : std::uint8_t { volume, rebuilt, files, journal };

// `entries`: of the volume, or of the exported MFT.
tally judge_run(const volume_life& life, const leftover& left, const volume_life::entries& entries, source from) {
    run one;
    bytes image = image_of(entries, left);
    if (from == source::journal || from == source::files) one.read_file(left);
    if (from == source::journal) {
        resolve_past_paths(one.intake.records(), one.intake.take_history(), false);
        return one.judge(life);
    }
    opened_volume disk(image);
    for (std::size_t i = 0; i < left.unreadable.size(); ++i) {
        const std::size_t at = journal_lcn * page + i * page - left.begin;
        if (left.unreadable[i]) disk.faults.bad.emplace_back(at, at + page);
    }
    if (from == source::files) {
        const auto mft = image.begin() + ntfs_image_builder::mft_lcn * page;
        disk_reader reader;
        reader.open(std::make_unique<memory_source>(bytes(mft, mft + 16 * page)));
        EXPECT_TRUE(disk.volume.open_mft_file(std::move(reader)));
    } else {
        EXPECT_TRUE(from == source::rebuilt ? rebuild_mft(disk.volume, one.shown) == rebuild_result::rebuilt
                                            : disk.volume.mount());
        EXPECT_EQ(read_volume_journal(disk.volume, one.intake, one.shown, [] {}), journal_found::yes);
    }
    EXPECT_TRUE(resolve_journal_paths(one.intake.records(), disk.volume, {}, one.shown, one.intake.take_history()));
    return one.judge(life);
}

void note(const char* what, const tally& of) {
    std::string words;
    for (std::size_t i = 0; i < of.all.size(); ++i) {
        words += std::to_string(of.all[i]) + " (" + std::to_string(of.wrong[i]) + ") ";
    }
    testing::Test::RecordProperty(what, words);
}

// A reference that is a parent is a directory, whatever its records call it; a carved copy of a record stands where
// that one does, any other carved record is likely at best.
TEST(PathHistory, WhatIsFoundOutOnceAllRecordsAreThere) {
    usn_record_builder folder{.name = u"folder", .file_ref = reference(40, 1), .parent_ref = reference(5, 5)};
    usn_record_builder child{.name = u"child", .file_ref = reference(99, 1), .parent_ref = reference(40, 1)};
    bytes journal(folder.usn), other;
    append(journal, folder.build());
    child.usn = journal.size();
    append(journal, child.build());
    append(other, child.build());
    child.reason = 0x80000001;
    append(other, child.build());
    fill_page(journal);
    fill_page(other);
    run one;
    one.intake.walk(byte_view(std::span(journal).subspan(4096), 4096));
    one.intake.carve(byte_view(other, 1U << 20U), {.origin = record_origin::slack, .entry_bound = 1000, .label = {}});
    resolve_past_paths(one.intake.records(), one.intake.take_history(), false);
    ordered_reader records(one.intake.records(), one.meter);
    std::string text;
    for (journal_entry entry; records.next(entry);) {
        text += std::string(entry.parent_path) + (entry.basis == path_basis::exact ? " exact " : " likely ");
    }
    EXPECT_EQ(text, "[root]\\ exact [root]\\folder\\ exact [root]\\folder\\ exact [root]\\folder\\ likely ");
}

TEST(PathHistory, WholeOrTheLastOfAJournal) {
    for (const std::size_t part : {1U, 2U, 5U}) {
        tally with_mft, without, of_volume, of_files;
        for (std::uint64_t seed = 1; seed <= 200; ++seed) {
            volume_life life(seed, seed % 3 * 0x100000);
            while (life.records().size() < 400) life.go_on();
            leftover left{life.journal(), seed % 3 * 0x100000};
            left.begin = left.journal.size() / page * (part - 1) / part * page;
            left.as_file = seed % 2 == 0;
            const exported_mft mft{life.mft(), seed % 2 == 0 ? mft_origin::exported : mft_origin::volume};
            with_mft += judge(life, left, &mft);
            without += judge(life, left, nullptr);
            if (left.as_file) {
                of_files += judge_run(life, left, life.mft(), source::files);
            } else {
                of_volume += judge_run(life, left, life.mft(), source::volume);
            }
        }
        for (const tally& every : {of_volume, of_files}) {
            EXPECT_EQ(every.wrong, (std::array<int, 4>{}));
            EXPECT_EQ(every.all[2] + every.all[3], 0);
        }
        note(("volume, 1/" + std::to_string(part)).c_str(), of_volume);
        note(("files, 1/" + std::to_string(part)).c_str(), of_files);
        note(("with MFT, 1/" + std::to_string(part)).c_str(), with_mft);
        note(("without, 1/" + std::to_string(part)).c_str(), without);
    }
}

// ---- Single rules ---------------------------------------------------------------------------------------------------

constexpr std::uint64_t first_usn = 0x10000;

// A journal written by hand, and what is asked of it.
class scene {
public:
    std::uint64_t say(std::uint64_t directory, std::uint64_t parent, std::u16string name, std::uint32_t reason = 1) {
        return say({.name = std::move(name), .file_ref = directory, .parent_ref = parent, .reason = reason});
    }
    std::uint64_t say(usn_record_builder record) {
        record.usn += first_usn + journal_.size() - usn_record_builder{}.usn;
        record.attributes = 0x10;
        append(journal_, record.build());
        return record.usn;
    }
    std::uint64_t child() { return say({.name = u"child", .file_ref = reference(99, 1)}); }
    void lose() { append(journal_, bytes(16)); }
    void end_page() { fill_page(journal_); }

    // Somebody else's record, or one from before.
    void carve(std::uint64_t usn, std::uint64_t directory, std::u16string name, std::uint32_t reason = 1) {
        carved_.push_back(
            {.name = std::move(name), .file_ref = directory, .usn = usn, .reason = reason, .attributes = 0x10});
    }

    // Word and path of a directory at a USN, when it was asked about another one just before.
    std::string ask(std::uint64_t directory, std::uint64_t usn, const mft_testimony* mft = nullptr,
                    std::int64_t other = 0) const {
        directory_places places;
        history_walk walk(places);
        const placed_part all;
        walk.take(byte_view(journal_), {&all, 1});
        walk.finish();
        sound_record record;
        for (const usn_record_builder& one : carved_) {
            const bytes whole = one.build();
            if (read_sound_stray(byte_view(whole), record)) walk.take_carved(record);
        }
        const std::uint32_t number = places.number_of(directory);
        places.finish(mft);
        path_history history(std::move(places), false);
        (void)history.path_at(number, other);
        const path_history::past_path path = history.path_at(number, static_cast<std::int64_t>(usn));
        constexpr std::array words{"exact ", "likely ", "remnant ", "partial "};
        return words[static_cast<std::size_t>(path.basis)] + std::string(path.text);
    }

    bytes journal_;
    std::vector<usn_record_builder> carved_;
};

constexpr std::uint64_t root = reference(5, 5), a = reference(40, 1), b = reference(41, 0xFFFF);

// An MFT of one entry.
mft_testimony mft_of(std::uint64_t entry, mft_witness says, mft_origin origin = mft_origin::volume,
                     std::uint64_t moment = 0) {
    return {origin, [=] { return static_cast<std::int64_t>(moment); },
            [=](std::uint64_t asked, mft_witness& found) {
                found = says;
                return asked == entry;
            }};
}

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
    const auto now = [&](std::uint64_t usn, std::uint64_t last, mft_origin origin = mft_origin::volume,
                         std::uint64_t moment = 0) {
        const mft_testimony mft = mft_of(40, {true, 1, root, static_cast<std::int64_t>(last), u"now"}, origin, moment);
        return of.ask(a, usn, &mft);
    };
    EXPECT_EQ(now(late, late), "exact [root]\\now\\");        // not changed behind
    EXPECT_EQ(now(late, 0), "exact [root]\\now\\");           // no number, no gap to the end
    EXPECT_EQ(now(late, late + 8), "likely [root]\\two\\");   // changed, and no record here
    EXPECT_EQ(now(late, first - 8), "likely [root]\\two\\");  // the journal knows of a later change
    EXPECT_EQ(now(early, 0), "likely [root]\\one\\");
    EXPECT_EQ(now(early, 8, mft_origin::exported, early), "exact [root]\\now\\");
    EXPECT_EQ(now(early, 8, mft_origin::exported, 16), "likely [root]\\one\\");
    EXPECT_EQ(now(late, after, mft_origin::exported, late), "exact [root]\\now\\");
    EXPECT_EQ(now(late, after, mft_origin::exported, after), "likely [root]\\two\\");
    EXPECT_EQ(now(late, 0, mft_origin::exported, late), "likely [root]\\two\\");
    EXPECT_EQ(now(late, late, mft_origin::rebuilt, late), "likely [root]\\two\\");
}

TEST(PathHistory, EntriesOfTheMft) {
    scene of;
    const std::uint64_t usn = of.child();
    const auto says = [&](bool in_use, std::uint16_t sequence, std::int64_t last, std::uint64_t asked = b) {
        const mft_testimony mft = mft_of(41, {in_use, sequence, reference(5, 9), last, u"b"});
        return of.ask(asked, usn, &mft);
    };
    EXPECT_EQ(says(true, 0xFFFF, 8), "exact [root]\\b\\");
    EXPECT_EQ(says(true, 0xFFFF, static_cast<std::int64_t>(usn) + 8), "likely [root]\\b\\");
    EXPECT_EQ(says(true, 1, 8), "partial [unknown 41-65535]\\");
    EXPECT_EQ(says(false, 1, 8), "remnant [root]\\b\\");
    EXPECT_EQ(says(false, 0xFFFF, 8), "partial [unknown 41-65535]\\");
    EXPECT_EQ(says(false, 8, 8, reference(41, 7)), "remnant [root]\\b\\");
}

// Of a volume or of an MFT of a moment of its own, where there are no records: the answer for one USN is none for the
// next.
TEST(PathHistory, AnswersHoldNoLongerThanTheMft) {
    const scene of;
    for (const mft_origin origin : {mft_origin::volume, mft_origin::exported}) {
        const mft_testimony mft = mft_of(40, {true, 1, root, 800, u"now"}, origin, 1600);
        for (const std::int64_t other : {800, 792, 1600, 1608}) {
            EXPECT_EQ(of.ask(a, 792, &mft, other), "likely [root]\\now\\");
            EXPECT_EQ(of.ask(a, 800, &mft, other), "exact [root]\\now\\");
            EXPECT_EQ(of.ask(a, 1600, &mft, other), "exact [root]\\now\\");
            EXPECT_EQ(of.ask(a, 1608, &mft, other).substr(0, 5), origin == mft_origin::volume ? "exact" : "likel");
        }
    }
}

TEST(PathHistory, AReferenceThatIsUsedAgain) {
    for (const bool gap : {false, true}) {
        scene of;
        of.say(a, root, u"one", 0x80000200);
        if (gap) of.lose();
        const std::uint64_t between = of.child();
        const std::uint64_t again = of.say(a, root, u"two", 0x100);
        const mft_testimony mft = mft_of(40, {true, 1, root, static_cast<std::int64_t>(again), u"now"});
        EXPECT_EQ(of.ask(a, between, &mft), gap ? "likely [root]\\one\\" : "exact [root]\\one\\");
        EXPECT_EQ(of.ask(a, again, &mft), "exact [root]\\two\\");
    }
    scene renamed;  // its creation is still to be seen afterwards
    renamed.say(a, root, u"one", 0x80000200);
    renamed.say(a, root, u"one", 0x100);
    renamed.lose();
    const std::uint64_t then = renamed.child();
    renamed.say(a, root, u"two", 0x2100);
    EXPECT_EQ(renamed.ask(a, then), "exact [root]\\two\\");
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
    const std::uint64_t last = of.child();
    const std::uint64_t end = first_usn + of.journal_.size();
    for (const auto& [usn, told] : std::vector<std::pair<std::uint64_t, bool>>{{first - 72, true},
                                                                               {first - 64, false},
                                                                               {first, false},
                                                                               {last - 16, false},
                                                                               {last, false},
                                                                               {end, false}}) {
        scene with = of;
        with.carve(usn, a, u"old");
        EXPECT_EQ(with.ask(a, last), told ? "likely [root]\\old\\" : "partial [unknown 40-1]\\") << usn - first;
    }
}

TEST(PathHistory, WhatIsNoGapAndWhatIs) {
    const auto word = [](const std::function<void(scene&)>& between) {
        scene of;
        of.child();
        of.say(a, root, u"a23456");
        between(of);
        const std::uint64_t usn = of.child();
        return of.ask(a, usn).substr(0, 6);
    };
    const auto damaged = [&](std::size_t at, std::uint8_t value) {
        return word([=](scene& of) {
            of.child();
            of.journal_[of.journal_.size() - 72 + at] = value;
            of.child();
        });
    };
    EXPECT_EQ(word([](scene& of) { of.say({.version = 4}); }), "exact ");
    EXPECT_EQ(word([](scene& of) { of.lose(); }), "likely");
    EXPECT_EQ(word([](scene& of) {
                  while (of.journal_.size() + 72 <= 4096) of.child();
                  of.end_page();
              }),
              "exact ");
    EXPECT_EQ(word([](scene& of) {
                  while (of.journal_.size() + 144 <= 4096) of.child();
                  of.end_page();
              }),
              "likely");
    EXPECT_EQ(word([](scene& of) {
                  while (of.journal_.size() + 72 <= 4096) of.child();
                  of.journal_.push_back(1);
                  of.end_page();
              }),
              "likely");
    EXPECT_EQ(damaged(12, 0x55), "exact ");  // another entry number
    EXPECT_EQ(damaged(14, 0), "likely");     // no sequence number
    EXPECT_EQ(damaged(25, 0x55), "likely");  // a USN that is not that of its place
    EXPECT_EQ(damaged(60, 0), "likely");     // a NUL in the name
    EXPECT_EQ(damaged(58, 59), "likely");    // a name that begins too early
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
    const auto deep = [](int levels) {
        std::string text;
        while (levels-- > 0) text += "d\\";
        return text;
    };
    EXPECT_EQ(of.ask(reference(1255, 1), usn), "exact [root]\\" + deep(256));
    EXPECT_EQ(of.ask(reference(1256, 1), usn), "partial [unknown 1000-1]\\" + deep(256));
}

// ---- Whole lives ----------------------------------------------------------------------------------------------------

// Loses some of a journal: spans zeroed from anywhere in a record to behind its end, pages cut out or unreadable.
void damage(leftover& left, const volume_life& life, std::mt19937_64& random) {
    for (std::uint64_t i = 0, spans = 1 + random() % 6; i < spans; ++i) {
        const auto& one = life.records()[random() % life.records().size()];
        const std::size_t at = one.record.usn - left.first_usn;
        const std::size_t begin = at + (random() % 2 == 0 ? 0 : random() % one.record.size());
        const std::size_t most = random() % 2 == 0 ? 200 : 9000;
        const std::size_t end =
            std::min(left.journal.size(), at + one.record.size() + (random() % 2 == 0 ? 0 : random() % most));
        switch (random() % 6) {
            case 0: left.cut[at / page] = left.as_file; break;
            case 1: left.unreadable[at / page] = true; break;
            default:
                std::fill(left.journal.begin() + static_cast<std::ptrdiff_t>(begin),
                          left.journal.begin() + static_cast<std::ptrdiff_t>(end), 0);
                break;
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
    std::map<const char*, tally> runs;
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
        if (seed % 4 == 0) {
            runs["volume run"] += judge_run(life, left, after.entries, source::volume);
            runs["rebuilt run"] += judge_run(life, left, after.entries, source::rebuilt);
            runs["files run, earlier"] += judge_run(life, left, before.entries, source::files);
            runs["files run, later"] += judge_run(life, left, after.entries, source::files);
            runs["journal run"] += judge_run(life, left, after.entries, source::journal);
        }
        none += judge(life, left, nullptr);
        leftover beginning = left;
        beginning.journal.resize(beginning.journal.size() / page / 2 * page);
        const exported_mft much_later{life.mft(), mft_origin::exported};
        volume_life first_half = life;
        later += judge(first_half, beginning, &much_later);
    }
    for (const auto& [name, all] : runs) note(name, all);
    note("own", own);
    note("earlier", earlier);
    note("later", later);
    note("rebuilt", rebuilt);
    note("none", none);
    testing::Test::RecordProperty("unseen", unseen);
}

}  // namespace
