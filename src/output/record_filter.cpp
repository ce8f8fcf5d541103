#include "output/record_filter.h"

#include "base/case_folding.h"
#include "base/utf.h"
#include "output/entry_text.h"

#include <algorithm>

namespace uni {
namespace {

constexpr char32_t any_number = U'*';
constexpr char32_t any_one = U'?';

void fold(std::u16string_view text, std::u32string& out) {
    out.resize(text.size());
    std::size_t points = 0;
    for (std::size_t at = 0; at < text.size(); ++points) {
        char32_t point = 0;
        (void)read_code_point(text, at, point);
        out[points] = folded(point);
    }
    out.resize(points);
}

void append_folded(std::string_view utf8, std::u32string& out) {
    for (std::size_t at = 0; at < utf8.size();) {
        char32_t point = 0;
        out += read_code_point(utf8, at, point) ? folded(point) : U'\xFFFD';
    }
}

// Whether all of the text matches. Where a step fails, the latest "*" takes one more: earlier ones need not be tried
// again.
bool glob_matches(std::u32string_view pattern, std::u32string_view text) {
    std::size_t at = 0;
    std::size_t behind_star = std::u32string_view::npos;
    std::size_t taken = 0;  // of the text, by the latest "*" and all before it
    for (std::size_t i = 0; i < text.size();) {
        if (at < pattern.size() && pattern[at] == any_number) {
            behind_star = ++at;
            taken = i;
        } else if (at < pattern.size() && (pattern[at] == any_one || pattern[at] == text[i])) {
            ++at;
            ++i;
        } else if (behind_star != std::u32string_view::npos) {
            at = behind_star;
            i = ++taken;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(any_number, at) == std::u32string_view::npos;
}

// Whether one look at the end tells that the pattern does not match, as it does of nearly every name.
bool ends_otherwise(std::u32string_view pattern, std::u16string_view name) {
    constexpr char16_t first_surrogate = 0xD800;
    const char32_t last = pattern.back();
    return last != any_number && last != any_one && !name.empty() && name.back() < first_surrogate &&
           folded(name.back()) != last;
}

bool all_end_otherwise(const std::vector<std::u32string>& patterns, std::u16string_view name) {
    return std::ranges::all_of(patterns, [name](std::u32string_view one) { return ends_otherwise(one, name); });
}

bool any_matches(const std::vector<std::u32string>& patterns, std::u32string_view text) {
    return std::ranges::any_of(patterns, [text](std::u32string_view one) { return glob_matches(one, text); });
}

}  // namespace

std::u32string folded_pattern(std::string_view utf8) {
    std::u32string pattern;
    append_folded(utf8, pattern);
    return pattern;
}

bool record_filter::takes(const journal_entry& entry) {
    if (choice_.by_time && (entry.timestamp < choice_.from || entry.timestamp >= choice_.to)) return false;
    return (choice_.names.empty() && choice_.paths.empty()) || matches(entry);
}

bool record_filter::matches(const journal_entry& entry) {
    if (entry.valid == 0 || entry.version == 4) return false;
    if (all_end_otherwise(choice_.names, entry.name) && all_end_otherwise(choice_.paths, entry.name)) return false;
    fold(entry.name, name_);
    if (any_matches(choice_.names, name_)) return true;
    const std::string_view directory = from_root(entry.parent_path);
    if (choice_.paths.empty() || directory.empty()) return false;
    path_.clear();
    append_folded(directory, path_);
    path_ += name_;
    return any_matches(choice_.paths, path_);
}

}  // namespace uni
