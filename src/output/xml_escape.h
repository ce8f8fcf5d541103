// output/xml_escape.h: texts in an XML document. By default only file names are escaped, in a way of this format's own
// that loses part of them; -xml_escape gives up that way for what every XML parser reads back.
#pragma once

#include <string>
#include <string_view>

namespace uni {

// Whether a document may hold a character, as itself or as a reference.
[[nodiscard]] bool allowed_in_xml(char32_t point);

// The default for names. Replaces `out`: "<", ">" and "&" as entities; a unit other than CR and LF whose low byte is no
// printing ASCII character as "%" and the low byte in two hexadecimal digits, its high byte lost.
void xml_escape(std::u16string_view text, std::u16string& out);

// -xml_escape. Appends: the five entities, CR, LF and TAB as references, U+FFFD for what XML forbids and for each byte
// that is no UTF-8. A parser gives back the text, as element or as attribute value in double quotes.
void append_escaped(std::string_view utf8, std::string& out);

// For the inside of a comment, which may hold anything but "--" and has no references: blanks between hyphens, "?" for
// control characters, for what XML forbids and for each byte that is no UTF-8. Line feeds are the caller's to take out.
void append_comment_text(std::string_view text, std::string& out);

// Puts a name at `to` as long as neither way would change a character of it. False when one would; what was put is then
// worthless.
[[nodiscard]] bool put_unescaped_name(std::u16string_view name, char* to);

}  // namespace uni
