// output/entry_text.h: how the writers say where a record was found and where its file was.
#pragma once

#include "journal/journal_entry.h"

#include <string>
#include <string_view>

namespace uni {

// "$J", "unalloc", the shadow copy's label, "slack".
[[nodiscard]] std::string_view origin_text(const journal_entry& entry);

// "valid", "del/wisp", "del/entry", "del/parent"; empty when there is no MFT.
[[nodiscard]] std::string_view status_word(mft_status status);

// The path of a directory from the root on, "\" or "\Users\a\"; as it is where it does not lead there.
[[nodiscard]] std::string_view from_root(std::string_view directory);

// "exact", "likely", "remnant", "partial".
[[nodiscard]] std::string_view basis_word(path_basis basis);

// In place of the path of a file whose parent is gone.
inline constexpr std::string_view parent_gone_text = "parent dir and file no longer referenced in $MFT";

// Appends a name as UTF-8. A surrogate without its partner becomes U+FFFD, or is `kept` for text_guard, see base/utf.h.
void append_name(std::u16string_view name, bool kept, std::string& out);

// Replaces `out` with a path of the directory, which ends with "\", and the name behind it.
void full_path(std::string_view directory, std::u16string_view name, bool kept, std::string& out);

}  // namespace uni
