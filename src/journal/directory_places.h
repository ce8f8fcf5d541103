// journal/directory_places.h: where each directory was at which time, as told by the records about it and by the MFT.
// Filled while a journal is read, finished once, then asked for the place of a directory at a USN. Order is the USN,
// never the time: clocks are set back. Directories have numbers from 0, the root, on.
#pragma once

#include "base/byte_view.h"
#include "journal/journal_stretches.h"
#include "journal/path_basis.h"
#include "journal/reference_table.h"
#include "journal/sound_record.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What a record says about a directory at its USN.
struct directory_witness {
    std::uint64_t directory = 0;  // reference
    std::uint64_t parent = 0;     // reference
    std::int64_t usn = 0;
    std::uint32_t length = 0;  // bytes, of the record
    std::uint32_t reason = 0;
    byte_view name;  // UTF-16LE
};

// What an MFT says about an entry.
struct mft_witness {
    bool in_use = false;
    std::uint16_t sequence = 0;
    std::uint64_t parent = 0;   // reference
    std::int64_t last_usn = 0;  // of the last record about it; 0 when there is no such number
    std::u16string name;
};

enum class mft_origin : std::uint8_t {
    volume,    // the journal's own, of its moment
    exported,  // of a moment of its own
    rebuilt,   // put together, of no one moment
};

struct mft_testimony {
    mft_origin origin = mft_origin::volume;
    // Of an exported one: the highest last USN of any entry, for which all have to be read. Asked at most once.
    std::function<std::int64_t()> moment;
    // By entry number; false when there is no such entry or it has no name.
    std::function<bool(std::uint64_t entry, mft_witness& found)> ask;
};

class directory_places {
public:
    static constexpr std::uint32_t root = 0;

    // The place of a directory, good for USNs from `from` on and below `to`.
    struct answer {
        std::u16string_view name{};  // belongs to this object; empty when nothing tells the place
        std::uint32_t parent = root;
        path_basis basis = path_basis::partial;
        std::int64_t from = 0;
        std::int64_t to = 0;
    };

    directory_places();

    // The number of a directory, a new one for one that was not there.
    [[nodiscard]] std::uint32_t number_of(std::uint64_t reference);
    [[nodiscard]] std::uint64_t reference_of(std::uint32_t directory) const {
        return directories_[directory].reference;
    }
    [[nodiscard]] std::size_t size() const { return directories_.size(); }

    // Filled by the walk.
    [[nodiscard]] journal_stretches& stretches() { return stretches_; }

    // A record of the latest stretch; USNs rise. Then those of the journal that are given later than they came, then
    // those that were carved, in any order.
    void add(const directory_witness& witness);
    void add_late(const directory_witness& witness) {
        take_waiting();
        put(witness, witness.usn, 0);
    }
    void add_carved(const directory_witness& witness) {
        take_waiting();
        any_carved_ = true;
        put(witness, witness.usn + witness.length, carved);
    }

    // Once all records are there; `mft` may be null, and is not asked afterwards.
    void finish(const mft_testimony* mft);

    // After that.
    [[nodiscard]] answer place_at(std::uint32_t directory, std::int64_t usn) const;

private:
    enum mark : std::uint8_t {
        carved = 1,       // or as good as: something may lie between it and any other record
        begins = 2,       // its first record is of a creation
        ends = 4,         // the directory was deleted while here
        life_begins = 8,  // the reference was used again: nothing before is about this directory
    };

    // What one record or several behind each other said without a gap in between.
    struct place {
        std::int64_t first = 0;  // USNs of the records
        std::int64_t last = 0;   // of a carved one its end, until all are there
        const char16_t* name = nullptr;
        std::uint32_t directory = 0;
        std::uint32_t parent = 0;
        std::uint8_t units = 0;
        std::uint8_t marks = 0;

        [[nodiscard]] bool is(mark one) const { return (marks & one) != 0; }
        [[nodiscard]] std::u16string_view text() const { return {name, units}; }
    };

    struct known_directory {
        std::uint64_t reference = 0;
        std::uint32_t first_place = 0;  // the latest one until all are there
        std::uint32_t places = 0;
        std::uint32_t entry = 0;  // what the MFT says, 0 for nothing
    };

    struct mft_place {
        std::int64_t last_usn = 0;
        std::u16string_view name;
        std::uint32_t parent = 0;
        bool in_use = false;
        bool outdated = false;  // the journal knows better
    };

    // A record that waits while the memory that it will be looked up in is fetched, with its own name.
    struct waiting_witness {
        directory_witness witness;
        std::int64_t stretch_begin = 0;  // of the stretch that it is in
        std::uint32_t number = 0;        // of the directory, once it was looked up
        std::array<std::uint8_t, 2 * longest_ntfs_name> name{};
    };

    // Text that never moves.
    class name_store {
    public:
        [[nodiscard]] const char16_t* keep(byte_view name);

    private:
        std::vector<std::unique_ptr<char16_t[]>> blocks_;
        std::size_t left_ = 0;  // units, in the last one
    };

    [[nodiscard]] static std::uint8_t marks_of(std::uint32_t reason);
    [[nodiscard]] waiting_witness& waiting(std::size_t at) { return waiting_[at % waiting_.size()]; }
    void look_up(waiting_witness& one);
    [[nodiscard]] place* latest_place(const waiting_witness& one);  // null: none yet
    void take(const waiting_witness& one);
    void take_waiting();
    [[nodiscard]] bool continues(const place& latest, const waiting_witness& one) const;
    void put(const directory_witness& witness, std::int64_t last, std::uint8_t marks);
    void order_by_directory();
    void settle(known_directory& one, std::uint32_t& kept);
    [[nodiscard]] bool joins(const place& last, const place& next) const;
    void ask_mft(const mft_testimony& mft);
    void keep_entry(std::uint32_t directory, const mft_witness& found);
    [[nodiscard]] bool is_outdated(const known_directory& directory, std::int64_t last_usn) const;
    [[nodiscard]] bool tells_exactly(const mft_place& entry, std::int64_t usn, const journal_stretches::span& now,
                                     answer& found) const;

    journal_stretches stretches_;
    reference_table numbers_;
    std::vector<known_directory> directories_;
    std::vector<place> places_;  // by directory, then USN, once all are there
    std::vector<mft_place> entries_;
    name_store names_;

    // In a ring, and how many came, were looked up, have their place fetched and their name, were taken.
    std::vector<waiting_witness> waiting_;
    std::size_t came_ = 0;
    std::size_t looked_up_ = 0;
    std::size_t with_place_ = 0;
    std::size_t with_name_ = 0;
    std::size_t taken_ = 0;

    mft_origin origin_ = mft_origin::volume;
    std::int64_t moment_ = 0;
    bool any_carved_ = false;
};
