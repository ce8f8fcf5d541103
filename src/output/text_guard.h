// output/text_guard.h: texts from evidence that may stand in a line or a document and on a terminal: nothing in them
// ends the line or the field, nothing acts on a terminal or turns the direction of what is read, and no two of them
// become equal. What the table does to texts without -complete is in text_marks.h.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace uni {

// For layouts that are made of lines. Line breaks become "[CRLF]", "[LFCR]", "[LF]" and "[CR]" as in text_marks.h;
// other control characters, the separators of lines and paragraphs, the characters that direct the writing, and
// surrogates without their partner become "[U+XXXX]", and so do the separator's characters: those that are no blanks,
// or its blanks when it has nothing else. A "[" that begins what looks like such a mark becomes one itself.
class text_guard {
public:
    static constexpr std::size_t longest_mark = 10;  // bytes

    explicit text_guard(std::string_view separator);

    // Whether a text is what nearly all are: printing ASCII without "[" and without the separator's characters.
    [[nodiscard]] bool is_plain(std::string_view text) const { return plain_length(text) == text.size(); }

    // The same for a name, whose characters are then put at `to`. What was put is else worthless.
    [[nodiscard]] bool put_plain_name(std::u16string_view name, char* to) const;

    // The guarded text of UTF-8, in which lone surrogates may stand, see base/utf.h: the text itself when it is plain,
    // else `scratch`.
    [[nodiscard]] std::string_view guarded(std::string_view utf8, std::string& scratch) const;

    // Whether what the program itself says in a field, words and times, could hold the separator.
    [[nodiscard]] bool guards_own_words() const { return guards_own_words_; }

private:
    [[nodiscard]] std::size_t plain_length(std::string_view text) const;  // of its beginning
    [[nodiscard]] bool is_marked(char32_t point) const;
    void append(std::string_view utf8, std::string& out) const;

    std::u32string guarded_;     // the separator's characters that are marked
    char guarded_letter_ = '[';  // the one of them that is ASCII, "[" when there is none
    bool more_letters_ = false;
    bool guards_own_words_ = false;
};

// For XML, element or attribute value: as append_escaped does, but what XML forbids becomes "[U+XXXX]", so that no two
// texts become equal, and what acts on a terminal becomes a reference, which a parser reads back.
void append_guarded_xml(std::string_view utf8, std::string& out);

}  // namespace uni
