// journal/journal_intake.h: what a run gathers: the records and the bytes that could not be read. Every source hands
// its chunks here, each once.
#pragma once

#include "base/byte_view.h"
#include "base/run_meter.h"
#include "journal/account.h"
#include "journal/carving_scan.h"
#include "journal/complete_carving.h"
#include "journal/complete_walk.h"
#include "journal/gathered_history.h"
#include "journal/journal_collection.h"
#include "journal/journal_entry.h"

#include <cstdint>
#include <memory>
#include <span>

class journal_intake {
public:
    // The meter outlives the intake. `complete`: all that is sound is taken, not what the narrower checks let pass.
    explicit journal_intake(run_meter& meter, bool complete = false) : meter_(meter), complete_(complete) {}

    [[nodiscard]] bool complete() const { return complete_; }

    // Before the first chunk: gathers what is told of the paths that files had, for path resolution, which takes it;
    // null when it was not gathered.
    void gather_history() { history_ = std::make_unique<gathered_history>(meter_); }
    [[nodiscard]] std::unique_ptr<gathered_history> take_history();

    // A chunk of the $J stream or of an extracted file, whole 4096-byte pages from the stream's start on, in a complete
    // intake also parts of them. Its image_offset is its place in the stream, and the offset to report for its first
    // byte. True when it held entries.
    bool walk(byte_view chunk);

    // The same where other offsets are to be reported: of parts that lie apart on the source, the first of which begins
    // with the chunk. Without `complete` that of the first stands for all.
    bool walk(byte_view chunk, std::span<const placed_part> parts);

    // No more of the journal comes: what is lost from here on is none of it. Before the first carving.
    void end_walk();

    // Bytes that no structure points at any more, under one pass. The image_offset is their place on the source. True
    // when they held entries.
    bool carve(byte_view chunk, const carving_pass& pass);

    // Pieces of the source that could not be read, however many an image claims.
    void lose(std::uint64_t pieces, std::uint64_t bytes_each);
    [[nodiscard]] std::uint64_t lost_bytes() const { return lost_bytes_; }

    // Of all that was taken so far, nothing of it written yet. Records are accounted for only when the intake is
    // complete.
    [[nodiscard]] record_account account() const;

    // How many records of the walk a complete one had kept whole.
    [[nodiscard]] std::uint64_t reduced_records() const { return reduced_; }

    [[nodiscard]] journal_collection& records() { return records_; }
    [[nodiscard]] const journal_collection& records() const { return records_; }
    [[nodiscard]] run_meter& meter() const { return meter_; }

private:
    template <typename scan>
    bool take(byte_view chunk, phase during, const scan& take_records);
    bool note(phase during, std::size_t bytes, std::size_t records_before);

    run_meter& meter_;
    bool complete_;
    stray_scan strays_;
    record_account account_;
    std::uint64_t reduced_ = 0;
    journal_collection records_;
    std::unique_ptr<gathered_history> history_;
    std::uint64_t lost_bytes_ = 0;
    journal_entry scratch_;
};
