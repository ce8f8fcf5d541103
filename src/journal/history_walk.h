// journal/history_walk.h: what a journal tells of directories, taken from its bytes while they are read: the records
// about directories, and where something between two records is missing. Bytes come in the order of the stream.
#pragma once

#include "base/byte_view.h"
#include "journal/directory_places.h"
#include "journal/placed_part.h"
#include "journal/sound_record.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

class history_walk {
public:
    // What is found goes there.
    explicit history_walk(directory_places& into) : places_(into) {}

    // Bytes of $J, whose image_offset is their place in the stream; no record crosses their end. `parts`: what is
    // reported for the records in them.
    void take(byte_view chunk, std::span<const placed_part> parts);

    // Bytes that could not be read; behind the end of the walk they change nothing.
    void lost() { interrupted_ = true; }

    // A record that was carved, in free space or elsewhere.
    void take_carved(const sound_record& record);

    // Once all bytes were there, before anything carved.
    void finish();

    // Whether what was read as a record at this reported offset is damaged or not at its place: a path found by its
    // fields may be wrong whatever it rests on.
    [[nodiscard]] bool is_doubtful(std::uint64_t reported_offset) const;

private:
    // Of a record, and where it stood.
    struct standing_record {
        std::int64_t usn = 0;
        std::uint32_t length = 0;
        std::uint64_t stream_offset = 0;
        std::uint64_t reported_offset = 0;

        [[nodiscard]] std::int64_t end() const { return usn + length; }
        // What its USN is ahead of its place, the same for records of one journal.
        [[nodiscard]] std::uint64_t lead() const { return static_cast<std::uint64_t>(usn) - stream_offset; }
    };

    // A stretch of reported offsets.
    struct doubtful_bytes {
        std::uint64_t begin, end;
    };

    void take_record(const standing_record& record);
    [[nodiscard]] bool follows(const standing_record& record) const;
    void hold(const standing_record& record);
    void settle_held(const standing_record* next);
    void tell(const sound_record& record);
    void doubt(std::uint64_t begin, std::uint64_t end);

    directory_places& places_;
    sound_record record_;        // the one at hand
    bool any_ = false;           // there was one before
    std::int64_t last_end_ = 0;  // of that one
    std::uint64_t last_lead_ = 0;
    bool interrupted_ = false;           // since then
    std::optional<std::uint64_t> lead_;  // of the latest record that stood at its place

    // A record that follows nothing, until another shows whether it stands at its place.
    bool holding_ = false;
    sound_record held_;
    standing_record held_at_;
    std::array<std::uint8_t, 2 * longest_ntfs_name> held_name_{};

    std::vector<doubtful_bytes> doubtful_;
};
