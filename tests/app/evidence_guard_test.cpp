#include "app/evidence_guard.h"

#include "platform/platform.h"
#include "storage/volume_names.h"
#include "support/parsed_options.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

TEST(EvidenceGuard, FindsEverySourceAsTheRunWillReadIt) {
    const auto node = [](const char* device) { return platform::device_node(device); };
    const std::string letter = node(R"(\\.\c:)");
    const std::pair<const char*, argument_list> cases[] = {
        {"", {}},
        {"-file", {}},
        {"-FILE f -image i -file g -mftfile m", {"f", "g", "i", "m"}},
        {"-file -image i", {"-image", "i"}},
        {R"(-file c:\$extend\$USNJRNL:$j)", {letter, R"(c:\$extend\$USNJRNL:$j)"}},
        {R"(-file xc:\$extend\$USNJRNL:$j)", {R"(xc:\$extend\$USNJRNL:$j)"}},
        {"-partition c", {letter}},
        {"-partition c:", {letter}},
        {R"(-partition c:\)", {letter}},
        {R"(-partition \\.\D:)", {node(R"(\\.\D:)")}},
        {"-partition /dev/sda1 -partition 1:", {"/dev/sda1", "1:"}},
        {"-vss 3", {node(R"(\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy3)")}},
        // Options take theirs first, also those behind the place where the run gives up.
        {"-file -a x", {"x"}},
        {"-sqlite s -cmd_start_time bad -file -xml_escape x", {"x"}},
        {"-threads -file x", {}},
        {"-mftfile -file x -mftfile y", {"-file"}},
        // Whether these three are taken is decided by files that are not open yet.
        {"-diags d -file -l2 x", {"-l2", "x"}},
        {"-diags d -file -l3 x -l2", {"-l3"}},
        {"-out o -file -append x", {"-append", "x"}},
        {"-file -append x", {"-append"}},
    };
    for (const auto& [line, sources] : cases) {
        argument_list arguments = words(line);
        arguments.insert(arguments.begin(), "lorq");
        std::vector<std::string> found = evidence_guard(arguments).sources();
        std::ranges::sort(found);
        std::vector<std::string> wanted = sources;
        std::ranges::sort(wanted);
        EXPECT_EQ(found, wanted) << line;
    }
}

TEST(EvidenceGuard, NothingIsWrittenOverASource) {
    const temporary_folder folder;
    const std::string source = folder.write("source", "evidence");
    std::filesystem::create_hard_link(source, folder / "hard");
    const std::string roundabout = folder / "./source";
    std::string link = folder / "soft";
    std::error_code no_links;
    std::filesystem::create_symlink(source, link, no_links);
    if (no_links) link = source;

    for (const char* line : {"-file @", "-file -quiet @", "-image @ -file x", "-mftfile @", "-partition @",
                             "-vss 1 -file @", "-file -sqlite s @"}) {
        argument_list reading = words(line);
        std::ranges::replace(reading, "@", source);
        for (const std::string& name : {source, folder / "hard", roundabout, link}) {
            std::string shown = name;
            std::ranges::replace(shown, '/', '\\');
            argument_list writing = reading;
            writing.insert(writing.end(), {"-append", "-out", name});
            const parsed_options out(writing);
            EXPECT_FALSE(out.succeeded) << out.settings.command_line;
            EXPECT_EQ(out.said, "prob opening file " + shown + " for output, aborting\n");

            writing = reading;
            writing.insert(writing.begin(), {"-diags", name});
            const parsed_options diags(writing);
            EXPECT_FALSE(diags.log.enabled()) << diags.settings.command_line;
            EXPECT_TRUE(
                diags.said.starts_with("\x1b[2K\r    \rprob opening file " + name + " for output, log is off\n"));
            EXPECT_EQ(diags.settings.log_path, "");
            ASSERT_EQ(temporary_folder::read(source), "evidence") << diags.settings.command_line;
        }
    }
    EXPECT_TRUE(parsed_options({"-file", source, "-out", folder.write("copy", "evidence")}).succeeded);
    EXPECT_FALSE(evidence_guard({"lorq", "-file", folder / "none"}).is_source(folder / "none"));
}

}  // namespace
