// output/json_text.h: texts inside the quotes of a JSON string. Pieces of a text_buffer: put at `to`, the result is the
// place behind.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace uni {

// The most bytes that a byte of UTF-8 or a UTF-16 unit takes.
inline constexpr std::size_t most_json_bytes = 6;

// UTF-16 that may hold anything. A surrogate without its partner becomes U+FFFD, and `whole` false.
char* put_json(char* to, std::u16string_view text, bool& whole);

char* put_json(char* to, char32_t point);

// UTF-8. A byte that is in no well-formed sequence becomes U+FFFD, and so does a surrogate of three bytes.
char* put_json(char* to, std::string_view text);

// The same with the quotes around it, for what is put together once.
[[nodiscard]] std::string json_string(std::string_view text);

}  // namespace uni
