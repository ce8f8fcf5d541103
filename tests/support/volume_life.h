// tests/support/volume_life.h: a volume that lives: files and directories are made, renamed, moved, deleted, their
// entries used again, sequence numbers wrap, the clock is set back. Its change journal is written along, and for every
// record the path of its directory at that moment.
#pragma once

#include "support/bytes.h"

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

class volume_life {
public:
    struct lived_record {
        usn_record_builder record{};
        std::string path{};  // of the directory that it lies in

        [[nodiscard]] std::uint64_t end() const { return record.usn + record.size(); }
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

    explicit volume_life(std::uint64_t seed, std::uint64_t first_usn) : first_usn_(first_usn), random_(seed) {
        entries_[5] = {.sequence = 5, .in_use = true, .directory = true};
        for (std::uint64_t entry = 24; entry < 44; ++entry) {
            entries_[entry] = {.sequence =
                                   static_cast<std::uint16_t>(below(3) == 0 ? 0xFFFE + below(2) : 1 + below(9))};
        }
        for (int i = 0; i < 6; ++i) appear(true);  // before the journal began
        next_usn_ = first_usn;
    }

    // Some records of whatever happens next.
    void go_on() {
        const std::uint64_t entry = any(false);
        switch (below(10)) {
            case 0: create(true); break;
            case 1:
            case 2: create(false); break;
            case 3:
            case 4: rename(any(true)); break;
            case 5: rename(entry); break;
            case 6: remove(entry); break;
            default: note(entry, 1U << below(3)); break;
        }
        if (below(40) == 0) now_ -= below(1'000'000'000'000);
    }

    [[nodiscard]] const std::vector<lived_record>& records() const { return records_; }
    [[nodiscard]] const entries& mft() const { return entries_; }

    // $J from `first_usn` on, pages of 4096 bytes.
    [[nodiscard]] bytes journal() const {
        bytes out;
        for (const lived_record& one : records_) {
            out.resize(one.record.usn - first_usn_);
            append(out, one.record.build());
        }
        fill_page(out);
        return out;
    }

private:
    [[nodiscard]] std::uint64_t below(std::uint64_t bound) { return random_() % bound; }

    [[nodiscard]] std::uint64_t any(bool directory) {
        std::vector<std::uint64_t> fitting;
        for (const auto& [number, one] : entries_) {
            if (number != 5 && one.in_use && (one.directory || !directory)) fitting.push_back(number);
        }
        return fitting.empty() ? 0 : fitting[below(fitting.size())];
    }

    [[nodiscard]] std::uint64_t any_folder() {
        const std::uint64_t found = any(true);
        return found == 0 || below(4) == 0 ? 5 : found;
    }

    [[nodiscard]] bool lies_in(std::uint64_t entry, std::uint64_t folder) const {
        while (entry != 5 && entry != folder) entry = entries_.at(entry).parent;
        return entry == folder;
    }

    [[nodiscard]] std::string path_of(std::uint64_t folder) const {
        if (folder == 5) return "[root]\\";
        const lived_entry& one = entries_.at(folder);
        return path_of(one.parent) + std::string(one.name.begin(), one.name.end()) + "\\";
    }

    [[nodiscard]] std::u16string new_name() {
        std::u16string name(below(9) == 0 ? 200 + below(53) : below(12), u'n');
        for (const char digit : std::to_string(below(300))) name += static_cast<char16_t>(digit);
        return name;
    }

    // A free entry comes to life; 0 when there is none.
    std::uint64_t appear(bool directory) {
        std::vector<std::uint64_t> free;
        for (const auto& [number, one] : entries_) {
            if (!one.in_use) free.push_back(number);
        }
        if (free.empty()) return 0;
        const std::uint64_t entry = free[below(free.size())];
        lived_entry& one = entries_[entry];
        // Now and then all sequence numbers were gone through since.
        if (one.last_usn != 0 && below(4) == 0) one.sequence = before(one.sequence);
        const std::uint64_t parent = any_folder();
        one = {.sequence = one.sequence, .in_use = true, .directory = directory, .name = new_name(), .parent = parent};
        return entry;
    }

    static std::uint16_t before(std::uint16_t sequence) {
        return sequence == 1 ? 0xFFFF : static_cast<std::uint16_t>(sequence - 1);
    }

    void create(bool directory) {
        const std::uint64_t entry = appear(directory);
        note(entry, 0x100);
    }

    void rename(std::uint64_t entry) {
        if (entry == 0) return;
        write(entry, 0x1000);
        lived_entry& one = entries_[entry];
        const std::uint64_t folder = below(2) == 0 ? one.parent : any_folder();
        if (!lies_in(folder, entry)) one.parent = folder;
        if (below(5) != 0) one.name = new_name();
        one.reason &= ~0x1000U;
        note(entry, 0x2000);
    }

    void remove(std::uint64_t entry) {
        if (entry == 0) return;
        for (const auto& [number, one] : entries_) {
            if (one.in_use && number != 5 && one.parent == entry) return;
        }
        write(entry, 0x80000200);
        lived_entry& one = entries_[entry];
        one.in_use = false;
        one.sequence = one.sequence == 0xFFFF ? std::uint16_t{1} : static_cast<std::uint16_t>(one.sequence + 1);
    }

    // One or two records, the file closed or left open.
    void note(std::uint64_t entry, std::uint32_t reason) {
        if (entry == 0) return;
        write(entry, reason);
        if (below(3) != 0) write(entry, 0x80000000);
    }

    void write(std::uint64_t entry, std::uint32_t reason) {
        lived_entry& one = entries_[entry];
        one.reason |= reason;
        now_ += below(3) * 1'000'000;
        usn_record_builder record{.version = static_cast<std::uint16_t>(below(10) == 0 ? 3 : 2),
                                  .name = one.name,
                                  .file_ref = reference(entry, one.sequence),
                                  .parent_ref = reference(one.parent, entries_[one.parent].sequence),
                                  .timestamp = now_,
                                  .reason = one.reason,
                                  .attributes = one.directory ? 0x10U : 0x20U};
        if (next_usn_ / 4096 != (next_usn_ + record.size() - 1) / 4096) next_usn_ = (next_usn_ / 4096 + 1) * 4096;
        record.usn = one.last_usn = next_usn_;
        next_usn_ += record.size();
        if ((one.reason & 0x80000000) != 0) one.reason = 0;
        records_.push_back({record, path_of(one.parent)});
    }

    std::uint64_t first_usn_;
    std::uint64_t next_usn_ = 0;
    std::mt19937_64 random_;
    entries entries_;
    std::vector<lived_record> records_;
    std::uint64_t now_ = 133'485'408'000'000'000;
};
