// report/html_text.h: texts and figures of the page. Names are hostile: whatever they hold stands on the page as
// letters and nothing else. The page is HTML and well-formed XML at once.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace report {

// Markup that is safe as it is, so that no text goes on the page by mistake: only what is here makes any.
class html {
public:
    html() = default;

    // Markup of the page's own, word for word.
    html& markup(std::string_view text) {
        out_ += text;
        return *this;
    }
    html& operator+=(const html& more) { return markup(more.out_); }

    // Any text, `most` characters of it: of a longer one the middle is cut out, and a mark says so. UTF-8; lone
    // surrogates as base/utf.h keeps them. Characters that are not seen, that direct the writing or that no document
    // may hold stand as marks U+XXXX.
    html& text(std::string_view text, std::size_t most = longest_text);

    // The same alone in its direction of writing, so that it cannot turn what stands beside it.
    html& name(std::string_view text, std::size_t most = longest_text);

    html& number(std::uint64_t number);                       // 1,234,567
    html& plain_number(std::int64_t number);                  // 1234567
    html& decimal(double number);                             // 12.5, 12
    html& size(std::uint64_t bytes);                          // 1.5 MiB (1,572,864 bytes)
    html& time(std::uint64_t filetime, unsigned digits = 0);  // 2024-01-02 03:04:05.678, digits behind the seconds
    html& duration(std::uint64_t ticks);                      // 1 h 30 min

    [[nodiscard]] const std::string& out() const { return out_; }

    static constexpr std::size_t longest_text = 300;

private:
    std::string out_;
};

[[nodiscard]] std::string grouped(std::uint64_t number);
[[nodiscard]] std::string time_text(std::uint64_t filetime, unsigned digits);
[[nodiscard]] std::string duration_text(std::uint64_t ticks);

// "1 record", "2 records".
[[nodiscard]] std::string counted(std::uint64_t number, std::string_view one, std::string_view many = {});

}  // namespace report
