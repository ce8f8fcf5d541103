#include "ntfs/path_lookup.h"

#include "base/format_text.h"
#include "base/text.h"
#include "base/utf.h"
#include "ntfs/directory_index.h"
#include "ntfs/file_name.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace {

using ull = unsigned long long;
using segment_list = std::vector<std::u16string>;

constexpr int most_link_restarts = 32;

namespace reparse_point {
constexpr std::size_t tag = 0;                      // u32
constexpr std::size_t data_length = 4;              // u16
constexpr std::size_t substitute_name_length = 10;  // u16, bytes
constexpr std::size_t print_name_offset = 12;       // u16, from the name buffer
constexpr std::size_t print_name_length = 14;       // u16, bytes
constexpr std::size_t junction_names = 16;
constexpr std::size_t link_flags = 16;  // u32, symbolic links only: their names follow
constexpr std::size_t link_names = 20;
constexpr std::uint32_t junction_tag = 0xA0000003;
constexpr std::uint32_t link_tag = 0xA000000C;
constexpr std::uint32_t flag_relative = 1;
}  // namespace reparse_point

char16_t lower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c; }

bool begins_with(std::u16string_view text, std::u16string_view lower_case_prefix) {
    return text.size() >= lower_case_prefix.size() &&
           std::ranges::equal(text.substr(0, lower_case_prefix.size()), lower_case_prefix, {}, lower);
}

std::u16string_view from_backslash(std::u16string_view path, std::size_t at) {
    const std::size_t found = path.find(u'\\', at);
    return found == std::u16string_view::npos ? std::u16string_view{} : path.substr(found);
}

// The names under which a system reaches a snapshot's volume; what counts is the path behind.
std::u16string_view without_device_prefix(std::u16string_view path) {
    constexpr std::u16string_view shadow_copy = u"\\\\?\\globalroot\\device\\harddiskvolumeshadowcopy";
    constexpr std::u16string_view snapshot = u"\\\\.\\snapid_";
    constexpr std::size_t shortest_snapshot_path = 48;  // with the identifier and the backslash behind it
    if (begins_with(path, shadow_copy)) return from_backslash(path, shadow_copy.size());
    if (path.size() >= shortest_snapshot_path && begins_with(path, snapshot)) {
        return from_backslash(path, shortest_snapshot_path - 1);
    }
    return path;
}

segment_list split(std::u16string_view path, char16_t separator) {
    segment_list segments;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find(separator), path.size());
        if (end != 0) segments.emplace_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return segments;
}

// Behind a drive letter, which says nothing here.
std::size_t first_segment(const segment_list& segments) {
    return !segments.empty() && segments[0].size() >= 2 && segments[0][1] == u':' ? 1 : 0;
}

// Without stream name and blanks, in lower case.
std::string name_of_segment(std::u16string_view segment) {
    segment = segment.substr(0, segment.find(u':'));
    while (segment.starts_with(u' ')) segment.remove_prefix(1);
    while (segment.ends_with(u' ')) segment.remove_suffix(1);
    return lower_case(to_utf8(segment));
}

// Where a junction or an absolute symbolic link leads; empty for anything else.
std::u16string link_target(byte_view value) {
    const auto tag = value.value<std::uint32_t>(reparse_point::tag);
    if (value.value<std::uint16_t>(reparse_point::data_length) == 0) return {};
    if (value.value<std::uint16_t>(reparse_point::substitute_name_length) == 0) return {};
    const bool link = tag == reparse_point::link_tag;
    if (!link && tag != reparse_point::junction_tag) return {};
    if (link && (value.value<std::uint32_t>(reparse_point::link_flags) & reparse_point::flag_relative) != 0) return {};
    const std::size_t names = link ? reparse_point::link_names : reparse_point::junction_names;
    return utf16_at(value, names + value.value<std::uint16_t>(reparse_point::print_name_offset),
                    value.value<std::uint16_t>(reparse_point::print_name_length) / sizeof(char16_t));
}

// One look-up: the walk from the root through the segments.
class path_walk {
public:
    path_walk(mft_reader& mft, directory_map& directories, work_budget& index_bytes, segment_list segments,
              link_mode links)
        : mft_(mft),
          directories_(directories),
          index_bytes_(index_bytes),
          segments_(std::move(segments)),
          links_(links),
          next_(first_segment(segments_)) {}

    [[nodiscard]] std::optional<std::uint64_t> run() {
        while (next_ < segments_.size()) {
            const std::string name = name_of_segment(segments_[next_]);
            log("seg: " + name);
            known_directory* const directory = learnt_directory();
            if (directory == nullptr) return std::nullopt;
            const auto match = directory->names.find(name);
            if (match == directory->names.end()) {
                log("err: no child nodes");
                return std::nullopt;
            }
            if (links_ == link_mode::follow) {
                if (const std::u16string target = target_of(match->second); !target.empty()) {
                    if (!restart_at(target)) return std::nullopt;
                    continue;
                }
            }
            current_ = match->second;
            log(format_text("info: inode found for seg: %s : 0x%llx", name.c_str(), static_cast<ull>(current_)));
            ++next_;
        }
        return current_;
    }

private:
    void log(const std::string& text) const { mft_.log().line(text); }

    // The current directory with its children's names; null when it has none.
    [[nodiscard]] known_directory* learnt_directory() {
        auto found = directories_.find(current_);
        if (found == directories_.end() || found->second.children.empty()) {
            log("info: get children nodes");
            std::set<std::uint64_t> children;
            if (!get_children_nodes(mft_, current_, index_bytes_, children) || children.empty()) {
                log("info: none found");
                return nullptr;
            }
            log(format_text("info: # children [%d]", static_cast<int>(children.size())));
            found = directories_.try_emplace(current_).first;
            found->second.children = std::move(children);
        }
        if (found->second.names.empty()) {
            log("info: get children names");
            gather_names(found->second);
        } else {
            log("info: cache lookup");
        }
        if (!found->second.names.empty()) return &found->second;
        log("err: no child names");
        return nullptr;
    }

    void gather_names(known_directory& directory) {
        mft_entry child;
        for (const std::uint64_t number : directory.children) {
            if (number == current_) continue;
            if (!mft_.load_entry(number, child)) {
                log(format_text("err: readFR: inode 0x%llx", static_cast<ull>(number)));
                continue;
            }
            if (child.records.front().size() < mft_.record_size()) {
                log(format_text("err: paramsFR: inode 0x%llx", static_cast<ull>(number)));
                continue;
            }
            const std::vector<std::u16string> names = get_record_names(child);
            if (names.empty()) {
                log(format_text("err: namelookup: inode 0x%llx", static_cast<ull>(number)));
                continue;
            }
            for (const std::u16string& name : names) directory.names.try_emplace(lower_case(to_utf8(name)), number);
        }
    }

    // Of a reparse point; empty when the file is none or leads nowhere.
    [[nodiscard]] std::u16string target_of(std::uint64_t number) {
        mft_entry entry;
        if (!mft_.load_entry(number, entry)) return {};
        const auto is_link = [](const attribute& one) {
            return one.type == attribute_type::reparse_point && one.resident;
        };
        const auto found = std::ranges::find_if(entry.attributes, is_link);
        return found == entry.attributes.end() ? std::u16string{} : link_target(found->value);
    }

    [[nodiscard]] bool restart_at(const std::u16string& target) {
        if (++restarts_ > most_link_restarts) {
            log("err: too many links");
            return false;
        }
        segment_list rest(segments_.begin() + static_cast<std::ptrdiff_t>(next_) + 1, segments_.end());
        segments_ = split(target, u'\\');
        segments_.insert(segments_.end(), rest.begin(), rest.end());
        current_ = root_entry_number;
        next_ = first_segment(segments_);
        log("info: restart segments [link]");
        return true;
    }

    mft_reader& mft_;
    directory_map& directories_;
    work_budget& index_bytes_;
    segment_list segments_;
    link_mode links_;
    std::size_t next_;
    std::uint64_t current_ = root_entry_number;
    int restarts_ = 0;
};

}  // namespace

void path_lookup::forget() {
    directories_.clear();
    index_bytes_ = {readings::looked_up_indexes, mft_.clusters().source_limit()};
}

std::optional<std::uint64_t> path_lookup::find(std::u16string_view path, link_mode links) {
    if (path.empty()) return std::nullopt;
    path = without_device_prefix(path);
    mft_.log().line("anal: " + to_utf8(path));
    const char16_t separator = path.find(u'/') != std::u16string_view::npos ? u'/' : u'\\';
    segment_list segments = split(path, separator);
    const bool rooted = path.starts_with(separator);
    if (rooted) mft_.log().line("root dir");
    if (segments.empty()) {
        mft_.log().line("path empty");
        return rooted ? std::optional(root_entry_number) : std::nullopt;
    }
    const std::optional<std::uint64_t> found =
        path_walk(mft_, directories_, index_bytes_, std::move(segments), links).run();
    if (!found) mft_.log().line("inode not found for " + to_utf8(path));
    return found;
}

std::vector<std::u16string> get_record_names(const mft_entry& entry) {
    std::vector<std::u16string> names;
    for (const attribute& one : entry.attributes) {
        if (one.type != attribute_type::file_name || !one.resident) continue;
        if (one.value.value<std::uint8_t>(file_name_value::name_space) == name_space::dos) continue;
        if (std::u16string name = name_in(one.value); !name.empty()) names.push_back(std::move(name));
    }
    return names;
}
