// output/mft_status.h: what the writers say about where a file was, from the marks that path resolution left on its
// record.
#pragma once

#include "journal/journal_entry.h"

#include <string>
#include <string_view>

namespace uni {

enum class mft_status { valid, wisp, parent_gone, entry_gone };

[[nodiscard]] mft_status mft_status_of(const journal_entry& entry);

// In place of the path of a file whose parent is gone.
inline constexpr std::string_view parent_gone_text = "parent dir and file no longer referenced in $MFT";

// "valid", "del/wisp", "del/parent", "del/entry".
[[nodiscard]] std::string_view status_word(mft_status status);

// Replaces `out` with the file's full path in UTF-8, or with the sentence that stands for it when the parent is gone.
void path_text(const journal_entry& entry, mft_status status, std::string& out);

}  // namespace uni
