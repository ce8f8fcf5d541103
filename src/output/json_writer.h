// output/json_writer.h: -jsonl, one object of JSON a line and nothing else. Made by the dispatch for one run; what
// depends on a flag word or on the run alone is put together once.
#pragma once

#include "journal/account.h"
#include "journal/journal_entry.h"
#include "output/iso_time.h"
#include "output/layout_settings.h"
#include "output/text_buffer.h"
#include "output/token_cache.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace uni {

class json_writer {
public:
    // The settings outlive the writer. `with_paths`: where files were is known and is told. `source`: as the user typed
    // it.
    json_writer(const layout_settings& settings, bool with_paths, std::string_view source);

    void write_header(text_buffer& /*out*/) {}

    // Appends the record's line: none for a record without the close flag or without a time that can be written (unless
    // all are asked for), none for an entry that is not valid.
    [[nodiscard]] record_fate write_record(const journal_entry& entry, text_buffer& out);

private:
    char* put_event(char* to, const journal_entry& entry, bool timed);
    char* put_names(char* to, const journal_entry& entry);
    char* put_place(char* to, const journal_entry& entry);
    char* put_history(char* to, const journal_entry& entry);
    char* put_change(char* to, const journal_entry& entry);
    char* put_pulled_times(char* to, const journal_entry& entry);

    const layout_settings& settings_;
    bool with_paths_;
    iso_time times_;
    iso_time pulled_times_;  // of its own, so that the records' times stay in order for the other
    token_cache message_ends_;
    token_cache descriptions_;
    token_cache reasons_;
    token_cache attributes_;
    std::string run_fields_;  // source, host and user, to the end of the line

    // Of the record, in its `message`: directory and name stand there as later keys repeat them.
    const char* directory_ = nullptr;
    const char* name_ = nullptr;
    const char* name_end_ = nullptr;
    bool name_is_whole_ = true;
};

}  // namespace uni
