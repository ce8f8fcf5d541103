// output/body_writer.h: -bodyfile, one line per record in the layout that the timeline tools of the Sleuth Kit read:
// MD5|name|inode|mode|uid|gid|size|atime|mtime|ctime|crtime, times in Unix seconds. No header. The name is a path
// only with path history. Made by the dispatch for one run.
#pragma once

#include "journal/journal_entry.h"
#include "output/layout_settings.h"
#include "output/name_text.h"
#include "output/text_buffer.h"

#include <string>
#include <string_view>

namespace uni {

class body_writer {
public:
    body_writer(const layout_settings& settings, bool /*with_paths*/) : with_full_path_(settings.path_history) {}

    void write_header(text_buffer& /*out*/) {}

    // Appends the line of any record, closed or not, with a time or without.
    void write_record(const journal_entry& entry, text_buffer& out);

private:
    [[nodiscard]] std::string_view name_of(const journal_entry& entry);

    bool with_full_path_;
    std::string path_;
    name_text names_{'|', ';'};  // whatever the run's separator is
};

}  // namespace uni
