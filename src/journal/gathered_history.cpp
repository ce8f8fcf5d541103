#include "journal/gathered_history.h"

#include "journal/sound_record.h"

void gathered_history::take(byte_view chunk, std::uint64_t stream_offset) {
    const in_phase now(meter_, phase::history);
    if (stream_offset != next_offset_) walk_.lost();
    walk_.take(chunk, stream_offset);
    next_offset_ = stream_offset + chunk.size();
    meter_.count(phase::history, 0, chunk.size());
}

void gathered_history::take_carved(byte_view bytes) {
    sound_record record;
    if (read_sound_stray(bytes, record)) walk_.take_carved(record);
}

void gathered_history::end_walk() {
    if (!ended_) walk_.finish();
    ended_ = true;
}
