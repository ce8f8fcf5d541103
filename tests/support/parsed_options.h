// tests/support/parsed_options.h: a command line run through the parser, with everything that came of it.
#pragma once

#include "app/journal_options.h"
#include "base/diagnostic_log.h"
#include "output/status_line.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <string>

// A command line in one text: split at blanks, "~" stands for a blank inside an argument.
inline argument_list words(const std::string& line) {
    argument_list list;
    std::istringstream in(line);
    for (std::string word; in >> word; list.push_back(word)) std::ranges::replace(word, '~', ' ');
    return list;
}

struct parsed_options {
    // `line` follows the program path.
    explicit parsed_options(argument_list line) : left(std::move(line)) {
        left.insert(left.begin(), "lorq");
        uni::status_line status([this](std::string_view text) { said += text; });
        settings.banner = "from an earlier run";
        succeeded = parse_journal_options(left, "ver: 1.49", settings, status, log);
        left.erase(left.begin());
    }

    // Every setting that differs from those of an empty command line, as "name=value ".
    [[nodiscard]] std::string changes() const {
        const parsed_options nothing({});
        const auto before = nothing.texts();
        std::string text;
        for (const auto& [name, value] : texts()) {
            if (before.at(name) != value) text.append(name).append("=").append(value).append(" ");
        }
        return text;
    }

    [[nodiscard]] std::map<std::string, std::string> texts() const {
        std::map<std::string, std::string> all;
        const auto add = [&](const char* name, const auto& value) {
            std::ostringstream out;
            out << value;
            all[name] = out.str();
        };
        const usnjrnl_context& s = settings;
        add("all", !s.closed_only), add("by_time", s.key_by_time), add("offset", s.show_offset);
        add("dir", s.show_dir_path), add("mft", s.mft_file_path), add("pull", s.pull_times), add("extra", s.extra_scan);
        add("unalloc", s.include_unalloc), add("vss", s.include_vss), add("slack", s.include_slack);
        add("escape", s.xml_escape), add("rebuild", s.rebuild_mft), add("banner", s.banner), add("out", s.results_path);
        add("date", s.date_format), add("time", s.time_format), add("pair", s.pair_date_time);
        add("swap", std::to_string(s.replaced_character) + ">" + std::to_string(s.replacement));
        add("sep", "[" + s.separator + "]"), add("dense", s.no_whitespace), add("lead", s.leading_space);
        add("marks", s.mark_line_breaks), add("hex", s.hexadecimal), add("header", s.write_header);
        add("xml", s.xml), add("csv", s.csv), add("l2t", s.csvl2t), add("gen", s.csvgen), add("body", s.bodyfile);
        add("multi", s.multiline), add("progress", s.progress), add("verbose", s.verbose), add("profile", s.profile);
        add("pipe", s.pipe), add("signal", s.signal_name), add("host", s.host_name), add("user", s.user_name);
        add("log", s.log_path), add("level", s.log_level), add("tag", s.tool_tag), add("version", s.version_text);
        for (const auto& [name, window] : {std::pair{"start", s.start_time}, {"stop", s.stop_time}}) {
            add(name, window.valid ? std::to_string(window.day_count) + "/" + std::to_string(window.filetime) : "");
        }
        return all;
    }

    bool succeeded = false;
    argument_list left;
    usnjrnl_context settings;
    diagnostic_log log;
    std::string said;
};
