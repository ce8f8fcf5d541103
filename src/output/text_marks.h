// output/text_marks.h: what is done to a text so that it cannot break the table it stands in: the separator's character
// is replaced, line breaks are marked.
#pragma once

#include "output/layout_settings.h"

#include <string>
#include <string_view>

namespace uni {

// C0, DEL and C1.
[[nodiscard]] constexpr bool is_control(char32_t point) { return point < 0x20 || (point >= 0x7F && point < 0xA0); }

// The mark of the line break that begins at `at`, which moves behind it; empty when none begins there. A CR of its own
// is one only in a text without any LF (`only_cr`).
[[nodiscard]] std::string_view line_break_mark(std::string_view text, std::size_t& at, bool only_cr);

// "[CRLF]", "[LFCR]", "[LF]" and "[CR]", found from left to right.
void mark_line_breaks(std::string& text);

// Replacement, then marks, as the settings say. The result is `text` itself when nothing is to be done, else `scratch`.
[[nodiscard]] std::string_view table_text(std::string_view text, const layout_settings& settings, std::string& scratch);

// Puts a name's characters at `to` as long as they are what nearly all are: ASCII, with nothing to replace or to mark.
// False when one is not; what was put is then worthless.
[[nodiscard]] bool put_plain_name(std::u16string_view name, char replaced, char* to);

// The same for text_guard, to which no control character is plain, nor "[".
[[nodiscard]] bool put_plain_guarded_name(std::u16string_view name, char guarded, char* to);

}  // namespace uni
