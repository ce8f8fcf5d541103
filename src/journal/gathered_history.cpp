#include "journal/gathered_history.h"

#include "journal/sound_record.h"

void gathered_history::take(byte_view chunk, std::span<const placed_part> parts) {
    const in_phase now(meter_, phase::history);
    if (chunk.image_offset() != next_offset_) walk_.lost();
    walk_.take(chunk, parts);
    next_offset_ = chunk.image_offset() + chunk.size();
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
