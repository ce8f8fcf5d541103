// journal/account.h: what became of every record and of the bytes that hold none, for the line that ends a run with
// -complete: counted where it is decided, by the walk, the passes and the writers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

// What became of a record that was read. A new fate is a line here and its text in account.cpp.
enum class record_fate : std::uint8_t {
    written,
    on_page,      // counted for a page, where nothing else was asked for
    found_again,  // with -unique: it was written from another place
    outside,      // of the window of time, or of the names and paths, that are asked for
    not_closed,   // without the close flag, where only records with it are asked for
    close_only,   // its reason touches no time of a timeline
    version_4,    // neither name nor time, where a line needs both
    no_time,      // its time is not printed; without -complete alone
    not_sound,    // a header that names a record, and no record
    count
};

struct record_account {
    std::array<std::uint64_t, static_cast<std::size_t>(record_fate::count)> records{};  // by fate
    std::uint64_t read = 0;                                                             // records, all of them
    std::uint64_t no_record_bytes = 0;   // of the journal, see complete_walk.h
    std::uint64_t unreadable_bytes = 0;  // of the source

    void count(record_fate fate, std::uint64_t number = 1) { records[static_cast<std::size_t>(fate)] += number; }
    [[nodiscard]] std::uint64_t of(record_fate fate) const { return records[static_cast<std::size_t>(fate)]; }
};

// "read 9 records: 6 written, 2 not closed, 1 not sound; 40 bytes were no records, 512 bytes unreadable", what is 0
// left out.
[[nodiscard]] std::string account_text(const record_account& account);
