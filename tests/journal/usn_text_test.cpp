#include "journal/usn_text.h"

#include <gtest/gtest.h>

#include <span>

namespace {

std::string reasons(std::uint32_t flags) {
    std::string out = "stale";
    reason_tokens(flags, out);
    return out;
}

std::string attributes(std::uint32_t flags) {
    std::string out = "stale";
    attribute_tokens(flags, out);
    return out;
}

const char* const reason_names[] = {"data_overwritten",
                                    "data_appended",
                                    "data_truncated",
                                    nullptr,
                                    "ads_data_overwritten",
                                    "ads_data_appended",
                                    "ads_data_truncated",
                                    nullptr,
                                    "file_created",
                                    "file_deleted",
                                    "extended_attrib_changed",
                                    "access_changed",
                                    "file_old_name",
                                    "file_new_name",
                                    "context_indexed_changed",
                                    "basic_info_changed",
                                    "hardlink_changed",
                                    "compression_changed",
                                    "encryption_changed",
                                    "objid_changed",
                                    "reparse_changed",
                                    "ads_added_or_deleted",
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    "file_closed"};
const char* const attribute_names[] = {"readonly", "hidden",      "system",    nullptr,  "dir",     "archive",
                                       "device",   "normal",      "temp",      "sparse", "symlink", "compressed",
                                       "offline",  "not_indexed", "encrypted", nullptr,  "virtual"};

// Every bit alone, then all of them in order.
void expect_tokens(std::span<const char* const> names, std::string (*tokens)(std::uint32_t)) {
    std::string all;
    for (unsigned bit = 0; bit < 32; ++bit) {
        const char* const name = bit < names.size() ? names[bit] : nullptr;
        EXPECT_EQ(tokens(1U << bit), name != nullptr ? name : "unk") << bit;
        if (name != nullptr) all += (all.empty() ? "" : "; ") + std::string(name);
    }
    EXPECT_EQ(tokens(0), "unk");
    EXPECT_EQ(tokens(0xFFFFFFFF), all);
}

TEST(UsnText, TokensOfReasonsAndAttributes) {
    expect_tokens(reason_names, reasons);
    expect_tokens(attribute_names, attributes);
}

TEST(UsnText, GroupsKeepTheLastOfTheirBits) {
    const struct {
        std::uint32_t flags;
        const char *access, *modify, *change, *birth;
    } rows[] = {
        {0, "", "", "", ""},
        {0x80000000, "file_closed", "", "", ""},
        {0x80000002, "data added", "", "", ""},
        {0x80000022, "ads data added", "", "", ""},
        {0x00000011, "", "ads data overwritten", "", ""},
        {0x80008000, "file_closed", "", "basic info changed", ""},
        {0x00008800, "", "", "access changed", ""},  // table order, not bit order
        {0x00002000, "", "", "", ""},                // the new name belongs to no group
        {0x00003000, "", "", "file renamed (old)", ""},
        {0x00200100, "", "", "", "stream added or deleted"},
        {0x00000100, "", "", "", "file created"},
        {0xFFFFFFFF, "ads data added", "ads data overwritten", "reparse changed", "stream added or deleted"},
    };
    reason_group_texts texts{"stale", "stale", "stale", "stale"};
    for (const auto& row : rows) {
        reason_groups(row.flags, texts);
        EXPECT_EQ(texts.access, row.access) << std::hex << row.flags;
        EXPECT_EQ(texts.modify, row.modify) << std::hex << row.flags;
        EXPECT_EQ(texts.change, row.change) << std::hex << row.flags;
        EXPECT_EQ(texts.birth, row.birth) << std::hex << row.flags;
    }
}

}  // namespace
