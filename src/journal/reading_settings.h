// journal/reading_settings.h: what the user asked of the reading and resolving of a journal. Plain data, set once by
// the options.
#pragma once

#include <string>

struct reading_settings {
    bool complete = false;  // all that is sound is read, and all of it is accounted for
    bool show_dir_path = false;
    bool path_history = false;  // the paths that files had when their records were written; show_dir_path is on too
    bool pull_times = false;
    std::string mft_file_path;  // of an exported $MFT; empty: none was given
    bool rebuild_mft = false;

    bool include_unalloc = false;
    bool include_vss = false;
    bool include_slack = false;
};
