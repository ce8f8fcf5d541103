#include "journal/usn_text.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

// Every bit alone, then all of them in order. `names`: those of the bits from 0 on, "-" for a bit without one.
void expect_tokens(const std::string& names, void (*tokens)(std::uint32_t, std::string&)) {
    std::istringstream in(names);
    std::string name, text = "stale", all;
    for (unsigned bit = 0; bit < 32; ++bit) {
        if (!(in >> name)) name = "-";
        tokens(1U << bit, text);
        EXPECT_EQ(text, name == "-" ? "unk" : name) << bit;
        if (name != "-") all += (all.empty() ? "" : "; ") + name;
    }
    tokens(0xFFFFFFFF, text);
    EXPECT_EQ(text, all);
    tokens(0, text);
    EXPECT_EQ(text, "unk");
}

TEST(UsnText, TokensOfReasonsAndAttributes) {
    expect_tokens(
        "data_overwritten data_appended data_truncated - ads_data_overwritten ads_data_appended ads_data_truncated - "
        "file_created file_deleted extended_attrib_changed access_changed file_old_name file_new_name "
        "context_indexed_changed basic_info_changed hardlink_changed compression_changed encryption_changed "
        "objid_changed reparse_changed ads_added_or_deleted - - - - - - - - - file_closed",
        reason_tokens);
    expect_tokens(
        "readonly hidden system - dir archive device normal temp sparse symlink compressed offline not_indexed "
        "encrypted - virtual",
        attribute_tokens);
}

}  // namespace
