// bench/journal_maker.h: change journals of any size for trying, testing and measuring, made page by page. The same
// plan always gives the same bytes. A small population of files is created, written, renamed and deleted, as on a
// volume in use.
#pragma once

#include "bench/usn_record_builder.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

struct journal_plan {
    std::uint64_t records = 1000;
    std::uint64_t seed = 1;
    std::uint64_t sparse_lead = 65536;         // bytes before the first record, a multiple of the page size
    unsigned mean_name = 20;                   // UTF-16 units, 1 to 120; lengths spread half of it to both sides
    unsigned closed_percent = 50;              // records with the close bit
    std::array<unsigned, 3> weights{1, 0, 0};  // of versions 2, 3 and 4
    unsigned damaged_pages = 0;                // in a thousand: bits flipped, or bytes overwritten
    bool shuffled = false;                     // times in no order; otherwise they rise, some of them equal
};

class journal_maker {
public:
    static constexpr std::size_t page_size = 4096;
    using page = std::array<std::uint8_t, page_size>;

    explicit journal_maker(const journal_plan& plan);

    // The next page of records: no record crosses its end, what is left over is zero. False when all records are out.
    [[nodiscard]] bool next_page(page& into);

    // Offset of the next page in the stream. A record's USN is the offset at which it stands.
    [[nodiscard]] std::uint64_t offset() const { return offset_; }

private:
    struct made_file {
        std::uint64_t reference = 0;  // 0: not there, to be created
        std::uint64_t parent = 0;
        std::uint32_t attributes = 0;
        std::u16string name;
        std::u16string old_name;    // during a rename
        std::uint32_t reason = 0;   // collected since the file was opened
        std::uint32_t pending = 0;  // reasons that the next records add: creation, then the lowest bit
    };

    [[nodiscard]] std::uint64_t below(std::uint64_t bound) { return random_() % bound; }
    void begin_action(made_file& file);
    void make_name(std::u16string& name, std::u16string_view extension);
    void draw_record();
    void damage(page& in);

    journal_plan plan_;
    std::mt19937_64 random_;
    std::vector<made_file> files_;
    std::uint64_t offset_;
    std::uint64_t drawn_ = 0;
    std::uint64_t now_;
    std::uint64_t next_entry_ = 64;

    // The record that is written next; it may have to wait for the next page.
    usn_record_builder next_;
    bool waiting_ = false;
    std::size_t working_on_ = 0;  // index of the file whose action goes on
};
