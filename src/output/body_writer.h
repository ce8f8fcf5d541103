// output/body_writer.h: -bodyfile, one line per record in the layout that the timeline tools of the Sleuth Kit read:
// MD5|name|inode|mode|uid|gid|size|atime|mtime|ctime|crtime, times in Unix seconds. No header. The name is a path
// only with path history. Made by the dispatch for one run.
#pragma once

#include "journal/account.h"
#include "journal/journal_entry.h"
#include "output/layout_settings.h"
#include "output/name_text.h"
#include "output/text_buffer.h"

#include <string>
#include <string_view>

namespace uni {

class body_writer {
public:
    body_writer(const layout_settings& settings, bool /*with_paths*/)
        : complete_(settings.complete),
          with_full_path_(settings.path_history),
          guard_("|"),
          names_('|', ';', complete_ ? &guard_ : nullptr) {}
    body_writer(const body_writer&) = delete;
    body_writer& operator=(const body_writer&) = delete;

    void write_header(text_buffer& /*out*/) {}

    // Appends the line of any record, closed or not, with a time or without. With -complete none of version 4, and a
    // time before 1970 is negative.
    [[nodiscard]] record_fate write_record(const journal_entry& entry, text_buffer& out);

private:
    [[nodiscard]] std::string_view name_of(const journal_entry& entry);

    bool complete_;
    bool with_full_path_;
    text_guard guard_;  // against "|", whatever the run's separator is
    name_text names_;
    std::string path_;
    std::string guarded_;  // of its directory
};

}  // namespace uni
