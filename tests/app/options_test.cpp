// What the arguments come to: settings, sources to keep from harm, the run header. Whatever a run shows of it is proved
// with the whole program.
#include "app/argument_hints.h"
#include "app/evidence_guard.h"
#include "app/run_header.h"
#include "output/layouts.h"
#include "platform/platform.h"
#include "support/command_line.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>

namespace {

// What the styles share and the writers' tests do not show one by one.
std::map<std::string, std::string> texts_of(const usnjrnl_context& s) {
    const uni::layout_settings& l = s.layout;
    const auto number = [](auto value) { return std::to_string(static_cast<int>(value)); };
    return {{"layout", std::string(uni::row_of(l.chosen).option)},
            {"sep", "[" + l.separator + "]"},
            {"swap", number(l.replaced_character) + ">" + number(l.replacement)},
            {"dense", number(l.no_whitespace)},
            {"lead", number(l.leading_space)},
            {"marks", number(l.mark_line_breaks)},
            {"gen", number(l.generic_csv)},
            {"hex", number(l.hexadecimal)},
            {"date", l.date_format},
            {"time", l.time_format},
            {"user", l.user_name},
            {"host", l.host_name},
            {"signal", s.signal_name},
            {"mft", s.reading.mft_file_path},
            {"dir", number(s.reading.show_dir_path)},
            {"progress", number(s.progress)}};
}

// Every setting that differs from those of an empty command line, as "name=value ".
std::string changes(const parsed_options& parsed) {
    const auto before = texts_of(parsed_options({}).settings);
    std::string text;
    for (const auto& [name, value] : texts_of(parsed.settings)) {
        if (before.at(name) != value) text.append(name).append("=").append(value).append(" ");
    }
    return text;
}

// Everything that an option changes, and nothing else. What the layouts come to is proved with the writers.
TEST(Options, Effects) {
    constexpr const char* both_invalid = "invalid start time, ignoring\ninvalid stop time, ignoring\n";
    const struct {
        const char *line, *changes = "", *said = "", *left = "";
    } cases[] = {
        {"-Csv", "dense=1 marks=1 sep=[,] swap=44>32 "},
        // The lowest style wins; what it does not touch stays as the losers left it.
        {"-csvgen -csvl2t", "dense=1 gen=1 layout=-csvl2t marks=1 sep=[,] swap=44>32 "},
        {"-multiline -csvgen -xml", "dense=1 gen=1 layout=-multiline marks=1 sep=[] swap=0>0 "},
        {"-xml -bodyfile", "layout=-xml sep=[] swap=0>0 "},
        {"-jsonl", "layout=-jsonl sep=[] swap=0>0 "},
        {"-bodyfile -jsonl", "layout=-bodyfile sep=[|] "},
        {"-csv -jsonl", "dense=1 marks=1 sep=[,] swap=44>32 "},
        {"-signal s -hostname h -username u~v -dateformat DD/mm/yy -timeformat hh:mm:ss.xxxxxxxxx",
         "date=dd/mm/yy host=h signal=s time=hh:mm:ss.xxxxxxxxx user=u v "},
        {"-csv_separator TAB", "sep=[\t] swap=0>0 "},
        {"-csv_separator ; -csv", "dense=1 marks=1 sep=[;] swap=0>0 "},
        {"-dateformat MM/MM/yyyy", "", "invalid MM/MM/yyyy, using default format\n"},
        {"-timeformat hh:mm:ss.xx", "", "invalid hh:mm:ss.xx, using default format\n"},
        {"-timeformat hhmmssxx", "", "invalid hhmmssxx, using default format\n"},
        {"-v -verbose", "", "", "-v"},
        {"-mftfile %no~such~name%/m", "dir=1 mft=%no such name%/m "},
        // Without effect, but not left over; an even list of aliases is none.
        {"-gzip -zlib -zlibex 1 -threads 1 -split_pathfile -cpuinst 1 -cpu 1 -fragment_files 1 -separate_files "
         "-outdir 1 -enumdir 1 -num_subdirs 1 -filter 1 -filter_path 1 -filter_sig 1 -alias a|b -aliaspath a||b| -l2 "
         "-append",
         "", "", "-l2 -append"},
        // Who is asked first gets what two could take; sources, strangers and options without their value stay.
        {"-file -quiet x -partition c -offset 5 stray", "progress=0 ", "", "-file x -partition c -offset 5 stray"},
        {"-hostname -csv -a", "dense=1 host=-a marks=1 sep=[,] swap=44>32 "},
        {"-cmd_stop_time 2024/02/29", ""},
        {"-cmd_start_time 2023-2-29 -cmd_stop_time 2024/02-01", "", both_invalid},
        {"-cmd_start_time 1600-12-31 -cmd_stop_time 2024-02-29~24:00:00", "", both_invalid},
        {"-cmd_stop_time 1601-01-02~00:00:00 -cmd_start_time 1601-01-02~00:00:01", "", "invalid stop time, ignoring\n"},
        {"-cmd_stop_time 1601-01-02~00:00:01 -cmd_start_time 1601-01-02~00:00:01", ""},
    };
    for (const auto& c : cases) {
        const parsed_options p(words(c.line));
        EXPECT_TRUE(p.succeeded) << c.line;
        EXPECT_EQ(changes(p), c.changes) << c.line;
        EXPECT_EQ(p.said, c.said) << c.line;
        EXPECT_EQ(p.left, words(c.left)) << c.line;
    }
    EXPECT_EQ(parsed_options(words("-pair_datetime -timeformat hh:mm:ss")).settings.layout.time_format_flags,
              0x18600u + '-');
    EXPECT_EQ(changes(parsed_options({"-csv_separator", ""})), "sep=[] swap=0>0 ");
}

TEST(Options, LimitsOfTheWindow) {
    constexpr std::uint64_t second = 133'486'724'960'000'000;  // 2024-01-02 12:34:56
    const std::pair<const char*, std::uint64_t> readable[] = {
        {"2024-01-02", 133'486'272'000'000'000},
        {"2024-01-02Z", 133'486'272'000'000'000},
        {"2024-01-02T12:34", second - 560'000'000},
        {"2024-01-02T12:34:56Z", second},
        {"2024-01-02T12:34:56.7891234", second + 7'891'234},
        {"2024-01-02T12:34:56.5", second + 5'000'000},
        {"2024-01-02T12:34:56.00000010", second + 1},  // finer than a tick: up to the next
        {"2024-01-02T12:34:56.000000001Z", second + 1},
        {"1601-01-02", 864'000'000'000},
        {"9999-12-31T23:59:59.9999999", 2'650'467'743'999'999'999},
    };
    for (const auto& [text, filetime] : readable) {
        const parsed_options p({"-from", text});
        EXPECT_TRUE(p.succeeded) << text;
        EXPECT_EQ(p.settings.layout.choice.from, filetime) << text;
    }
    for (const std::string& text :
         words(" 2024 2024-1-2 2024-02-30 2024-00-01 24-01-02 1600-12-31 2024-01-02T 2024-01-02T12 2024-01-02T12:3 "
               "2024-01-02T24:00 2024-01-02T12:60 2024-01-02T12:34:60 2024-01-02T12:34.5 2024-01-02T12:34:56. "
               "2024-01-02~12:34 2024-01-02T12:34+01:00 2024-01-02ZZ +024-01-02 10000-01-01 ~2024-01-02")) {
        for (const std::string option : {"-from", "-to"}) {
            const parsed_options p({option, text});
            EXPECT_FALSE(p.succeeded) << text;
            EXPECT_EQ(p.said, "prob " + option + " " + text +
                                  " is no time, give one like 2022-03-10 or 2022-03-10T21:00 (UTC), aborting\n");
        }
    }
    EXPECT_TRUE(parsed_options(words("-to 2024-01-02T00:00:00.0000001 -from 2024-01-02")).succeeded);
    for (const char* empty : {"-to 2024-01-02 -from 2024-01-02", "-from 2024-01-03 -to 2024-01-02", "-to 1601-01-01"}) {
        const parsed_options p(words(empty));
        EXPECT_FALSE(p.succeeded);
        EXPECT_NE(p.said.find("a window like -from 2022-03-10T21:00 -to 2022-03-11"), std::string::npos) << p.said;
    }
}

TEST(Options, HintsOnSlips) {
    const std::tuple<const char*, std::vector<std::string>> cases[] = {
        {"-image v -offset 0X7e00 -ignore_image_size -mftfile m -pulltimes -xml -xml_escape -out o -diags d -l2", {}},
        {"-file j stray -quiet", {}},
        {"-file j -THREADS 4 -v stray", {"-v has no effect", "-threads has no effect", "stray is taken by no option"}},
        {"-image v -offset 63s -out",
         {"-offset 63s is no number, it is read as 63", "-out has no value and is ignored"}},
        {"-vss 1 -image v -offset 5", {"-image has no effect beside -vss", "-offset has no effect without -image"}},
        {"-image v -ignore_image_size -l3",
         {"-ignore_image_size has no effect without -image and -offset", "-l3 has no effect"}},
        {"-hostname -base10 -file -partition",
         {"-hostname has no value of its own, it takes -base10", "-file has no value of its own, it takes -partition"}},
        {"-file j -pulltimes -a -xml_escape -a -mftfile",
         {"-pulltimes has no effect without -show_dir_path or -mftfile", "-xml_escape has no effect without -xml",
          "-a is given again, which has no effect", "-mftfile has no value and is ignored"}},
        {"-out o -file j -outfile p", {"-outfile is given again, which has no effect"}},
    };
    for (const auto& [line, texts] : cases) {
        argument_list arguments = words(line);
        arguments.insert(arguments.begin(), "lorq");
        std::vector<std::string> expected;
        for (const std::string& text : texts) expected.push_back("hint: " + text + "\n");
        EXPECT_EQ(argument_hints(arguments), expected) << line;
    }
}

TEST(ArgumentList, NumbersInThreeBases) {
    using limits = std::numeric_limits<std::int64_t>;
    const std::tuple<std::int64_t, std::vector<const char*>> cases[] = {
        {32'256, {"0x7E00", "o77000", " \t0X7e00\r\n"}},
        {16, {"x10", "-0x10"}},
        {-12, {"-12ab", "0x-c"}},
        {1, {"o18", "1,000", "0x1g"}},
        {0, {"", "bytes", "0x0x10", "o8"}},
        {limits::max(), {"9223372036854775808", "0xffffffffffffffff"}},
        {limits::min(), {"-9223372036854775809"}},
    };
    for (const auto& [number, texts] : cases) {
        for (const char* text : texts) EXPECT_EQ(parse_number(text), number) << text;
    }
}

TEST(EvidenceGuard, FindsEverySourceAsTheRunWillReadIt) {
    const auto expect = [](const char* line, argument_list sources) {
        argument_list arguments = words(line);
        arguments.insert(arguments.begin(), "lorq");
        std::vector<std::string> found = evidence_guard(arguments).sources();
        std::ranges::sort(found);
        std::ranges::sort(sources);
        EXPECT_EQ(found, sources) << line;
    };
    const std::string letter = platform::device_node(R"(\\.\c:)");
    expect("", {});
    expect("-FILE f -image i -file g -mftfile m", {"f", "g", "i", "m"});
    expect("-file -image i", {"-image", "i"});
    expect(R"(-file c:\$extend\$USNJRNL:$j)", {letter, R"(c:\$extend\$USNJRNL:$j)"});
    expect(R"(-file xc:\$extend\$USNJRNL:$j)", {R"(xc:\$extend\$USNJRNL:$j)"});
    for (const char* typed : {"c", "c:", R"(c:\)"}) expect((std::string("-partition ") + typed).c_str(), {letter});
    expect(R"(-partition \\.\D:)", {platform::device_node(R"(\\.\D:)")});
    expect("-partition /dev/sda1 -partition 1:", {"/dev/sda1", "1:"});
    expect("-vss 3", {platform::device_node(R"(\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy3)")});
    // Options take theirs first, also those behind the place where the run gives up.
    expect("-file -a x", {"x"});
    expect("-sqlite s -cmd_start_time bad -file -xml_escape x", {"x"});
    expect("-mftfile -file x -mftfile y", {"-file"});
    // Whether these three are taken is decided by files that are not open yet.
    expect("-diags d -file -l2 x", {"-l2", "x"});
    expect("-diags d -file -l3 x -l2", {"-l3"});
    expect("-out o -file -append x", {"-append", "x"});
    expect("-file -append x", {"-append"});
}

TEST(RunHeader, ThreeLines) {
    const auto expect = [](const argument_list& arguments, const std::string& time, const std::string& line) {
        EXPECT_EQ(compose_run_header(arguments, 133'536'421'239'990'000),  // 2024-02-29 01:02:03.999 UTC
                  "lorq ver: 1.49\nrun time: " + time + " 01:02:03; " + platform::computer_name() + "; " +
                      platform::user_name() + "; " + platform::system_description() + "\n\"cmdline: " + line + "\"\n");
    };
    expect({"lorq", "-file", "my j", "-a"}, "02/29/2024", "lorq -file 'my j' -a");
    expect({"lo rq", "-PIPE", "", " "}, "02/29/2024", "<filelist> ... | 'lo rq' -PIPE  ' '");
    expect({"l", "-dateformat", "YYYY-mm-dd"}, "2024-02-29", "l -dateformat YYYY-mm-dd");
    expect({"l", "-dateformat", "dd/mm/yy"}, "29/02/24", "l -dateformat dd/mm/yy");
}

}  // namespace
