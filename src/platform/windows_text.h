// platform/windows_text.h: texts and names between UTF-8 and the UTF-16 of Windows. Only windows.cpp uses it.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

// A file name here is any run of 16-bit units, a lone half of a surrogate pair included. Such a half is written as the
// three bytes that its number would have (which UTF-8 forbids) and read back as it was, so that a file with such a name
// can be opened by the path that the user gave. The calls of the system would make it U+FFFD, another name.
inline std::string narrow(std::wstring_view text) {
    std::string out;
    out.reserve(text.size());
    const auto continuation = [&out](char32_t bits) { out += static_cast<char>(0x80 | (bits & 0x3F)); };
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t code = text[at];
        const char32_t next = at + 1 < text.size() ? text[at + 1] : U'\0';
        if (code >= 0xD800 && code < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            code = 0x10000 + ((code - 0xD800) << 10) + (next - 0xDC00);
            ++at;
        }
        if (code < 0x80) {
            out += static_cast<char>(code);
        } else if (code < 0x800) {
            out += static_cast<char>(0xC0 | (code >> 6));
            continuation(code);
        } else if (code < 0x10000) {
            out += static_cast<char>(0xE0 | (code >> 12));
            continuation(code >> 6);
            continuation(code);
        } else {
            out += static_cast<char>(0xF0 | (code >> 18));
            continuation(code >> 12);
            continuation(code >> 6);
            continuation(code);
        }
    }
    return out;
}

// Takes one code point off the front; what is no UTF-8 gives U+FFFD for its first byte.
inline char32_t take_code_point(std::string_view& text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC0 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF8 ? 4
                                             : 0;
    char32_t code = length == 1 ? lead : lead & (0x7FU >> length);
    bool good = length != 0 && length <= text.size();
    for (std::size_t at = 1; good && at < length; ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        good = (byte & 0xC0) == 0x80;
        code = (code << 6) | (byte & 0x3FU);
    }
    constexpr std::array<char32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
    good = good && code >= least[length] && code <= 0x10FFFF;
    text.remove_prefix(good ? length : 1);
    return good ? code : 0xFFFD;
}

inline std::wstring wide(std::string_view text) {
    std::wstring out;
    out.reserve(text.size());
    while (!text.empty()) {
        char32_t code = take_code_point(text);
        if (code >= 0x10000) {
            code -= 0x10000;
            out += static_cast<wchar_t>(0xD800 + (code >> 10));
            code = 0xDC00 + (code & 0x3FF);
        }
        out += static_cast<wchar_t>(code);
    }
    return out;
}

}  // namespace platform
