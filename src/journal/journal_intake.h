// journal/journal_intake.h: what a run gathers: the records and the bytes that could not be read. Every source hands
// its chunks here, each once.
#pragma once

#include "base/byte_view.h"
#include "base/run_meter.h"
#include "journal/carving_scan.h"
#include "journal/gathered_history.h"
#include "journal/journal_collection.h"
#include "journal/journal_entry.h"

#include <cstdint>
#include <memory>

class journal_intake {
public:
    // The meter outlives the intake.
    explicit journal_intake(run_meter& meter) : meter_(meter) {}

    // Before the first chunk: gathers what is told of the paths that files had, for path resolution, which takes it;
    // null when it was not gathered.
    void gather_history() { history_ = std::make_unique<gathered_history>(meter_); }
    [[nodiscard]] std::unique_ptr<gathered_history> take_history() { return std::move(history_); }

    // A chunk of the $J stream or of an extracted file, whole 4096-byte pages from the stream's start on, which lies at
    // `stream_offset` of it. Its image_offset is the offset to report for its first byte. True when it held entries.
    bool walk(byte_view chunk, std::uint64_t stream_offset);

    // Bytes that no structure points at any more, under one pass. The image_offset is their place on the source. True
    // when they held entries.
    bool carve(byte_view chunk, const carving_pass& pass);

    // Pieces of the source that could not be read, however many an image claims.
    void lose(std::uint64_t pieces, std::uint64_t bytes_each);
    [[nodiscard]] std::uint64_t lost_bytes() const { return lost_bytes_; }

    [[nodiscard]] journal_collection& records() { return records_; }
    [[nodiscard]] const journal_collection& records() const { return records_; }
    [[nodiscard]] run_meter& meter() const { return meter_; }

private:
    template <typename scan>
    bool take(byte_view chunk, phase during, const scan& take_records);

    run_meter& meter_;
    journal_collection records_;
    std::unique_ptr<gathered_history> history_;
    std::uint64_t lost_bytes_ = 0;
    journal_entry scratch_;
};
