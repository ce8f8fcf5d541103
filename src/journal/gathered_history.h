// journal/gathered_history.h: what a run gathers for the paths that files had: what its journal tells of directories,
// where bytes of it are missing, what was carved. Filled by the intake while the records arrive.
#pragma once

#include "base/byte_view.h"
#include "base/run_meter.h"
#include "journal/directory_places.h"
#include "journal/history_walk.h"

#include <cstdint>

class gathered_history {
public:
    // The meter outlives the history.
    explicit gathered_history(run_meter& meter) : meter_(meter), walk_(places_) {}
    gathered_history(const gathered_history&) = delete;
    gathered_history& operator=(const gathered_history&) = delete;

    // A chunk of the journal, as history_walk takes it. Where it does not begin at the end of the one before, something
    // is missing.
    void take(byte_view chunk, std::span<const placed_part> parts);

    // Bytes of the source that could not be read: of the journal, unless the walk has ended.
    void lose() { walk_.lost(); }

    // The bytes at a carved record. No more chunks come.
    void take_carved(byte_view bytes);

    // No more chunks come. May be said again.
    void end_walk();

    [[nodiscard]] directory_places& places() { return places_; }
    [[nodiscard]] run_meter& meter() const { return meter_; }

    // See history_walk.
    [[nodiscard]] bool is_doubtful(std::uint64_t reported_offset) const { return walk_.is_doubtful(reported_offset); }

private:
    run_meter& meter_;
    directory_places places_;
    history_walk walk_;
    std::uint64_t next_offset_ = 0;  // of the stream
    bool ended_ = false;
};
