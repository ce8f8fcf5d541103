// tests/support/volume_life.h: a volume that lives: files and directories are made, renamed, moved, deleted, their
// entries used again, sequence numbers wrap, the clock is set back. Its change journal is written along, and for every
// record the path of its directory at that moment.
#pragma once

#include "support/bytes.h"

#include <map>
#include <random>

struct volume_life {
    struct lived_record {
        usn_record_builder record{};
        std::string path{};  // of the directory that it lies in
    };

    struct lived_entry {
        std::uint16_t sequence = 1;
        bool in_use = false;
        bool directory = false;
        std::u16string name{};
        std::uint64_t parent = 5;  // entry number
        std::uint64_t last_usn = 0;
        std::uint32_t reason = 0;  // since it was opened
    };
    using entries = std::map<std::uint64_t, lived_entry>;

    std::uint64_t first_usn;  // of $J
    std::vector<lived_record> records{};
    entries mft{};

    volume_life(std::uint64_t seed, std::uint64_t begin) : first_usn(begin), random_(seed) {
        mft[5] = {.sequence = 5, .in_use = true, .directory = true};
        for (std::uint64_t entry = 24; entry < 44; ++entry) {
            mft[entry].sequence = static_cast<std::uint16_t>(below(3) == 0 ? 0xFFFE + below(2) : 1 + below(9));
        }
        for (int i = 0; i < 6; ++i) appear(true);  // before the journal began
    }

    // Whatever happens until there are so many records.
    void go_on(std::size_t count) {
        while (records.size() < count) {
            switch (const std::uint64_t kind = below(10)) {
                case 0:
                case 1:
                case 2: note(appear(kind == 0), 0x100); break;
                case 3:
                case 4:
                case 5: rename(any(kind != 5)); break;
                case 6: remove(any(false)); break;
                default: note(any(false), 1U << below(3)); break;
            }
            if (below(40) == 0) now_ -= below(below(2) == 0 ? 1'000'000'000'000 : 100'000'000);
        }
    }

    // $J, pages of 4096 bytes.
    [[nodiscard]] bytes journal() const {
        bytes out;
        for (const lived_record& one : records) {
            out.resize(one.record.usn - first_usn);
            append(out, one.record.build());
        }
        fill_page(out);
        return out;
    }

private:
    [[nodiscard]] std::uint64_t below(std::uint64_t bound) { return random_() % bound; }

    // An entry that fits, 0 when there is none.
    template <typename predicate>
    [[nodiscard]] std::uint64_t any_that(const predicate& fits) {
        std::vector<std::uint64_t> fitting;
        for (const auto& [number, one] : mft) {
            if (number != 5 && fits(one)) fitting.push_back(number);
        }
        return fitting.empty() ? 0 : fitting[below(fitting.size())];
    }

    [[nodiscard]] std::uint64_t any(bool directory) {
        return any_that([=](const lived_entry& one) { return one.in_use && (one.directory || !directory); });
    }

    [[nodiscard]] std::uint64_t any_folder() {
        const std::uint64_t found = any(true);
        return found == 0 || below(4) == 0 ? 5 : found;
    }

    [[nodiscard]] bool lies_in(std::uint64_t entry, std::uint64_t folder) const {
        while (entry != 5 && entry != folder) entry = mft.at(entry).parent;
        return entry == folder;
    }

    [[nodiscard]] std::string path_of(std::uint64_t folder) const {
        if (folder == 5) return "[root]\\";
        const lived_entry& one = mft.at(folder);
        return path_of(one.parent) + std::string(one.name.begin(), one.name.end()) + "\\";
    }

    [[nodiscard]] std::u16string new_name() {
        std::u16string name(below(9) == 0 ? 200 + below(53) : below(12), u'n');
        for (const char digit : std::to_string(below(300))) name += static_cast<char16_t>(digit);
        return name;
    }

    // A free entry comes to life; 0 when there is none.
    std::uint64_t appear(bool directory) {
        const std::uint64_t entry = any_that([](const lived_entry& one) { return !one.in_use; });
        if (entry == 0) return 0;
        std::uint16_t sequence = mft[entry].sequence;
        // Now and then all sequence numbers were gone through since.
        if (mft[entry].last_usn != 0 && below(4) == 0 && sequence != 1) --sequence;
        const std::uint64_t parent = any_folder();
        mft[entry] = {
            .sequence = sequence, .in_use = true, .directory = directory, .name = new_name(), .parent = parent};
        return entry;
    }

    void rename(std::uint64_t entry) {
        if (entry == 0) return;
        write(entry, 0x1000);
        lived_entry& one = mft[entry];
        const std::uint64_t folder = below(2) == 0 ? one.parent : any_folder();
        if (!lies_in(folder, entry)) one.parent = folder;
        if (below(5) != 0) one.name = new_name();
        one.reason &= ~0x1000U;
        note(entry, 0x2000);
    }

    void remove(std::uint64_t entry) {
        const auto lies_here = [=](const lived_entry& one) { return one.in_use && one.parent == entry; };
        if (entry == 0 || any_that(lies_here) != 0) return;
        write(entry, 0x80000200);
        lived_entry& one = mft[entry];
        one.in_use = false;
        if (++one.sequence == 0) one.sequence = 1;
    }

    // One or two records, the file closed or left open.
    void note(std::uint64_t entry, std::uint32_t reason) {
        if (entry == 0) return;
        write(entry, reason);
        if (below(3) != 0) write(entry, 0x80000000);
    }

    void write(std::uint64_t entry, std::uint32_t reason) {
        lived_entry& one = mft[entry];
        one.reason |= reason;
        now_ += below(3) * 1'000'000;
        usn_record_builder record{.version = static_cast<std::uint16_t>(below(10) == 0 ? 3 : 2),
                                  .name = one.name,
                                  .file_ref = reference(entry, one.sequence),
                                  .parent_ref = reference(one.parent, mft[one.parent].sequence),
                                  .timestamp = now_,
                                  .reason = one.reason,
                                  .attributes = one.directory ? 0x10U : 0x20U};
        if (next_usn_ / 4096 != (next_usn_ + record.size() - 1) / 4096) next_usn_ = (next_usn_ / 4096 + 1) * 4096;
        record.usn = one.last_usn = next_usn_;
        next_usn_ += record.size();
        if ((one.reason & 0x80000000) != 0) one.reason = 0;
        records.push_back({record, path_of(one.parent)});
    }

    std::mt19937_64 random_;
    std::uint64_t next_usn_ = first_usn;
    std::uint64_t now_ = 133'485'408'000'000'000;
};
