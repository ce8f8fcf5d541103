#include "app/journal_options.h"

#include "support/parsed_options.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

namespace {

TEST(Options, ResetAndFixedTexts) {
    const parsed_options p({});
    EXPECT_TRUE(p.succeeded);
    EXPECT_EQ(p.said, "");
    EXPECT_EQ(p.settings.banner, "");
    EXPECT_EQ(p.settings.tool_tag, "USNJRNL");
    EXPECT_EQ(p.settings.version_text, "ver: 1.49");
    EXPECT_EQ(p.settings.separator, " | ");
    EXPECT_EQ(p.settings.time_format_flags, 0x68600u + '-');
    EXPECT_TRUE(p.settings.csv && p.settings.closed_only && p.settings.hexadecimal && p.settings.write_header);
    EXPECT_EQ(parsed_options({"-file", "a b"}).settings.command_line, "lorq -file \"a b\"");
}

struct effect {
    const char* line;
    const char* changes = "";
    const char* said = "";
    const char* left = "";
};

// Everything that an option changes, and nothing else.
TEST(Options, Effects) {
    const effect cases[] = {
        {"-pair_datetime", "pair=1 "},
        {"-Csv", "dense=1 marks=1 sep=[,] swap=44>32 "},
        {"-csv -pair_datetime", "marks=1 pair=1 sep=[,] swap=44>32 "},
        {"-csvgen -pair_datetime", "csv=0 dense=1 gen=1 marks=1 pair=1 sep=[,] swap=44>32 "},
        {"-csvl2t", "csv=0 l2t=1 sep=[,] swap=44>32 "},
        {"-bodyfile", "body=1 csv=0 sep=[|] "},
        {"-xml", "csv=0 header=0 sep=[] swap=0>0 xml=1 "},
        {"-multiline", "csv=0 multi=1 sep=[] swap=0>0 "},
        // The lowest style wins; what it does not touch stays as the losers left it.
        {"-csvl2t -csv", "csv=0 dense=1 l2t=1 sep=[,] swap=44>32 "},
        {"-csvgen -csvl2t", "csv=0 dense=1 gen=1 l2t=1 marks=1 sep=[,] swap=44>32 "},
        {"-multiline -csvgen -xml", "csv=0 dense=1 gen=1 marks=1 multi=1 sep=[] swap=0>0 "},
        {"-xml -bodyfile", "csv=0 header=0 sep=[] swap=0>0 xml=1 "},
        {"-profile -pipe", "pipe=1 profile=1 "},
        {"-signal s -hostname h -username u~v", "host=h signal=s user=u v "},
        {"-base10", "hex=0 "},
        {"-base16 -base10"},
        {"-csv_separator TAB", "sep=[\t] swap=0>0 "},
        {"-csv_separator \\T", "sep=[\t] swap=0>0 "},
        {"-csv_separator ; -csv", "dense=1 marks=1 sep=[;] swap=0>0 "},
        {"-csv_separator a,|", "sep=[a,|] "},
        {"-no_whitespace", "dense=1 lead=0 sep=[|] "},
        {"-no_whitespace -csv_separator ~,~", "dense=1 lead=0 sep=[,] swap=44>32 "},
        {"-dateformat DD/mm/yy", "date=dd/mm/yy "},
        {"-dateformat yymmm-dd", "date=yymmm-dd "},
        {"-dateformat dd-mmm-yy", "", "invalid dd-mmm-yy, using default format\n"},
        {"-dateformat MM/MM/yyyy", "", "invalid MM/MM/yyyy, using default format\n"},
        {"-timeformat HH:MM:SS", "time=hh:mm:ss "},
        {"-timeformat hh:mm:ss.xxxxxxxxx", "time=hh:mm:ss.xxxxxxxxx "},
        {"-timeformat hh:mm", "", "invalid hh:mm, using default format\n"},
        {"-timeformat hh:mm:ss.xx", "", "invalid hh:mm:ss.xx, using default format\n"},
        {"-timeformat hh:mm:ss.xxxxxxxxxx", "", "invalid hh:mm:ss.xxxxxxxxxx, using default format\n"},
        {"-timeformat hhmmssxx", "", "invalid hhmmssxx, using default format\n"},
        {"-v -verbose", "verbose=1 ", "", "-v"},
        {"-V -quiet", "progress=0 verbose=1 "},
        {"-a -pulltimes", "all=1 pull=1 "},
        {"-show_dir_path -show_offset", "dir=1 offset=1 "},
        {"-mftfile %no~such~name%/m", "dir=1 mft=%no such name%/m "},
        {"-a -mftfile", "all=1 ", "", "-mftfile"},
        {"-include_slack_space", "extra=1 slack=1 "},
        {"-include_unalloc_clusters", "extra=1 unalloc=1 "},
        {"-include_vss_clusters", "extra=1 vss=1 "},
        {"-xml_escape -rebuild_mft", "escape=1 rebuild=1 "},
        // Without effect, but not left over; an even list of aliases is none.
        {"-gzip -zlib -zlibex 1 -threads 1 -split_pathfile -cpuinst 1 -cpu 1 -fragment_files 1 -separate_files -outdir "
         "1 "
         "-enumdir 1 -num_subdirs 1 -filter 1 -filter_path 1 -filter_sig 1 -alias a|b -aliaspath a||b| -l2 -append",
         "", "", "-l2 -append"},
        // Who is asked first gets what two could take; sources, strangers and options without their value stay.
        {"-file -quiet x -partition c -offset 5 stray", "progress=0 ", "", "-file x -partition c -offset 5 stray"},
        {"-hostname -csv -a", "dense=1 host=-a marks=1 sep=[,] swap=44>32 "},
        {"-threads -a -sqlite", "", "", "-sqlite"},
        {"-cmd_start_time 1601-01-02~00:00:01", "start=1/864010000000 "},
        {"-cmd_stop_time 2024/02/29", "stop=154556/133537247990000000 "},
        {"-cmd_start_time 2023-2-29", "", "invalid start time, ignoring\n"},
        {"-cmd_start_time 2024/02-01", "", "invalid start time, ignoring\n"},
        {"-cmd_start_time 1600-12-31", "", "invalid start time, ignoring\n"},
        {"-cmd_start_time 30828-01-01", "", "invalid start time, ignoring\n"},
        {"-cmd_stop_time 2024-02-29~24:00:00", "", "invalid stop time, ignoring\n"},
        {"-cmd_stop_time 1601-01-02~00:00:00 -cmd_start_time 1601-01-02~00:00:01", "start=1/864010000000 ",
         "invalid stop time, ignoring\n"},
    };
    for (const effect& c : cases) {
        const parsed_options p(words(c.line));
        EXPECT_TRUE(p.succeeded) << c.line;
        EXPECT_EQ(p.changes(), c.changes) << c.line;
        EXPECT_EQ(p.said, c.said) << c.line;
        EXPECT_EQ(p.left, words(c.left)) << c.line;
    }
    EXPECT_EQ(parsed_options(words("-pair_datetime -timeformat hh:mm:ss")).settings.time_format_flags, 0x18600u + '-');
    EXPECT_EQ(parsed_options({"-csv_separator", ""}).changes(), "sep=[] swap=0>0 ");
}

TEST(Options, MalformedOnesEndTheParse) {
    const effect cases[] = {
        {"-cmd_start_time 20240229 -timeformat x"},
        {"-cmd_stop_time ~2024-02-29"},
        {"-alias a -sqlite x", "", "imbalanced alias to true pathfiles, aborting\n"},
        {"-aliaspath a|b|c", "", "imbalanced alias to true pathfiles, aborting\n"},
        {"-sqlite x -timeformat x", "", "invalid x, using default format\nThis option is not offered in this build\n"},
        {"-sqlite_log x", "", "This option is not offered in this build\n"},
        {"-outfile no/such/folder/x -append -sqlite x", "",
         "prob opening file no\\such\\folder\\x for output, aborting\n"},
    };
    for (const effect& c : cases) {
        const parsed_options p(words(c.line));
        EXPECT_FALSE(p.succeeded) << c.line;
        EXPECT_EQ(p.said, c.said) << c.line;
    }
    EXPECT_EQ(parsed_options({"-out", ""}).said, "prob opening file  for output, aborting\n");
}

TEST(Options, ResultsFileIsTriedAndTakenAwayAgain) {
    const temporary_folder folder;
    const std::string path = folder.write("earlier", "old");
    const parsed_options first({"-outfile", "other", "-append", "-OUT", path});
    EXPECT_TRUE(first.succeeded);
    EXPECT_EQ(first.left, (argument_list{"-outfile", "other", "-append"}));
    EXPECT_EQ(first.settings.results_path.find('/'), std::string::npos);
    EXPECT_EQ(temporary_folder::read(path), "(none)");

    std::filesystem::create_directory(folder / "sub");
    EXPECT_FALSE(parsed_options({"-out", folder / "sub"}).succeeded);

    std::error_code no_links;
    folder.write("target", "kept");
    std::filesystem::create_symlink(folder / "target", folder / "link", no_links);
    std::filesystem::create_directory_symlink(folder / "sub", folder / "link to folder", no_links);
    if (no_links) GTEST_SKIP() << "no symbolic links here";
    EXPECT_TRUE(parsed_options({"-out", folder / "link"}).succeeded);
    EXPECT_EQ(temporary_folder::read(folder / "link"), "kept");
    EXPECT_FALSE(parsed_options({"-out", folder / "link to folder"}).succeeded);
}

TEST(Options, LogGetsItsLevelOnlyWhenItOpens) {
    const temporary_folder folder;
    const std::string path = folder / "log";
    const argument_list lines[] = {
        {"-diags", path, "-l3"}, {"-diags", path, "-l3", "-l2"}, {"-l2", "-diags", folder / "no/x"}};
    const argument_list left[] = {{}, {"-l3"}, {"-l2"}};
    const unsigned levels[] = {3, 2, 0};
    for (std::size_t i = 0; i < 3; ++i) {
        const parsed_options p(lines[i]);
        EXPECT_TRUE(p.succeeded && p.said.empty());
        EXPECT_EQ(p.settings.log_level, levels[i]);
        EXPECT_EQ(p.settings.log_path, levels[i] == 0 ? "" : path);
        EXPECT_EQ(p.left, left[i]);
        EXPECT_EQ(p.log.enabled(), levels[i] != 0);
        p.log.line("err: one");
        if (p.log.enabled()) {
            EXPECT_EQ(temporary_folder::read(path), "->" + p.settings.command_line + "\r\n->err: one\r\n");
        }
    }
}

}  // namespace
