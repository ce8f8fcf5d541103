// output/l2t_writer.h: -csvl2t, log2timeline's table of 17 columns: one header line, then one line for each record
// that falls into a slot of a timeline. Made by the dispatch for one run; what stands between a line's variable fields
// is put together once.
#pragma once

#include "journal/account.h"
#include "journal/journal_entry.h"
#include "output/date_time.h"
#include "output/layout_settings.h"
#include "output/name_text.h"
#include "output/text_buffer.h"
#include "output/text_guard.h"
#include "output/token_cache.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace uni {

class l2t_writer {
public:
    // The settings outlive the writer. `with_paths`: where files were is known and is told.
    l2t_writer(const layout_settings& settings, bool with_paths);
    l2t_writer(const l2t_writer&) = delete;
    l2t_writer& operator=(const l2t_writer&) = delete;

    void write_header(text_buffer& out);

    // Appends the record's line: closed or not, but none for a record whose reason touches no slot or whose time is not
    // valid.
    [[nodiscard]] record_fate write_record(const journal_entry& entry, text_buffer& out);

private:
    [[nodiscard]] std::string_view full_path(const journal_entry& entry);
    [[nodiscard]] std::string_view own_words(std::string_view text, std::string& guarded) const;
    char* put_time(char* to);
    char* put_number(char* to, std::uint64_t value, std::size_t digits) const;

    // The text as it stands in a field, `own` for the program's own words, which hold nothing but the separator.
    [[nodiscard]] std::string field(const std::string& text, bool own = true) const;
    [[nodiscard]] std::string between(const std::string& fields) const;

    const layout_settings& settings_;
    std::optional<text_guard> guard_;  // of -complete
    bool with_paths_;
    time_formatter times_;
    token_cache types_;
    name_text names_;
    std::string path_;
    std::string guarded_path_;
    std::string type_;  // guarded, like the next one
    std::string time_;

    // With the separators around them.
    std::string zone_;
    std::string source_;
    std::string owner_;
    std::string version_;
    std::string parent_;
    std::string format_;
    std::size_t fixed_room_;  // enough for a line without its texts
};

}  // namespace uni
