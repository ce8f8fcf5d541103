// base/utf.h: names on NTFS are UTF-16 and may hold anything; output is UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Appends `text` as UTF-8. A surrogate without its partner becomes U+FFFD; a NUL stays.
void append_utf8(std::u16string_view text, std::string& out);

// The same, but a surrogate without its partner stays, as three bytes that no UTF-8 has: names that differ in nothing
// else stay different. For text_guard, which writes what cannot be written as it is.
void append_utf8_with_surrogates(std::u16string_view text, std::string& out);

[[nodiscard]] std::string to_utf8(std::u16string_view text);

// The code point that begins at `at`, which moves behind it. False at a surrogate without its partner: `point` is then
// U+FFFD.
[[nodiscard]] bool read_code_point(std::u16string_view text, std::size_t& at, char32_t& point);

// Puts a code point at `to` as UTF-8, one to four bytes; the result is the place behind it.
char* put_utf8(char* to, char32_t point);

// The code point that begins at `at`, which moves behind it. False where no well-formed sequence begins: `at` then
// moves by one byte.
[[nodiscard]] bool read_code_point(std::string_view utf8, std::size_t& at, char32_t& point);

// Whether such a surrogate begins at `at`; if so `at` moves behind it.
[[nodiscard]] bool read_lone_surrogate(std::string_view utf8, std::size_t& at, char32_t& surrogate);

// Code points of a UTF-8 text: bytes that do not continue a sequence.
[[nodiscard]] std::size_t count_characters(std::string_view utf8);
