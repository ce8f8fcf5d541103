#include "ntfs/directory_listing.h"

#include "ntfs/index_slack.h"
#include "opened_volume.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint64_t home = reference(30, 1);
bytes entry_of(std::uint64_t entry, std::size_t name_length = 3) {
    return index_entry_of(entry, home, std::u16string(name_length, u'n'));
}

std::string starts_in(const bytes& slack) {
    std::string text;
    for (const std::size_t start : find_slack_entries(byte_view(slack), home, 64)) text += std::to_string(start) + " ";
    return text;
}

TEST(IndexSlack, TellsARemnantByItsParentOrByATimeAndChecksItsFields) {
    constexpr std::size_t key = 16 + index_entry::key;
    bytes slack(16);
    append(slack, entry_of(40));
    slack.resize(160);
    // What a field may hold, and what no entry does.
    const std::tuple<std::size_t, std::size_t, std::uint64_t, std::uint64_t> fields[] = {
        {16 + index_entry::flags, 2, 2, 3},           {16 + index_entry::flags + 2, 2, 0, 1},
        {16 + index_entry::key_length, 2, 1, 0},      {16 + index_entry::length, 2, 72, 71},  // the key has 72 bytes
        {key + file_name_value::name_space, 1, 3, 4}, {key + file_name_value::name_length, 1, 1, 0},
        {key + file_name_value::real_size, 8, 0, 1}};  // more than is allocated
    for (const auto& [at, width, inside, outside] : fields) {
        for (const std::uint64_t value : {inside, outside}) {
            bytes changed = slack;
            std::memcpy(changed.data() + at, &value, width);
            EXPECT_EQ(starts_in(changed), value == inside ? "16 " : "") << at << "=" << value;
        }
    }
    // Found by its parent, then by the first time, the second, the third, the fourth one alone.
    for (std::size_t at = key; at <= key + 32; at += 8) {
        EXPECT_EQ(starts_in(slack), "16 ") << at;
        poke<std::uint64_t>(slack, at, 77);
    }
    // The first and the last moment that count, 1986-01-01 and 2100-01-01.
    for (const auto& [time, found] : {std::pair{121'493'951'999'999'999U, ""},
                                      {121'493'952'000'000'000U, "16 "},
                                      {157'469'184'000'000'000U, "16 "},
                                      {157'469'184'000'000'001U, ""}}) {
        poke<std::uint64_t>(slack, key + 32, time);
        EXPECT_EQ(starts_in(slack), found) << time;
    }
    for (const std::size_t length : {64U, 65U}) {
        bytes longest = entry_of(40, length);
        longest.resize(1000);
        EXPECT_EQ(starts_in(longest), length == 64 ? "0 " : "");
    }
    bytes cut = entry_of(40, 10);
    cut.resize((10 + 41) * 2);
    EXPECT_EQ(starts_in(cut), "0 ");
    cut.pop_back();
    EXPECT_EQ(starts_in(cut), "");
}

// Which of files 40 to 49 a node lists, a remnant in brackets; "!" when it lists anything.
std::string listed(const bytes& node, bool look_into_slack = true) {
    directory_listing listing;
    for (std::uint64_t i = 40; i < 50; ++i) listing.want(reference(i, 1));
    collect_index_entries(byte_view(node), true, home, {.slack = look_into_slack}, listing);
    std::string text = listing.any() ? "!" : "";
    for (const wanted_file& file : listing.files()) {
        const std::string number = " " + std::to_string(file.reference & 0xFF);
        if (file.where == listed_in::index) text += number;
        if (file.where == listed_in::slack) text += " (" + number.substr(1) + ")";
        const bool times = file.times.created == made_file_time && file.times.modified == made_file_time + 1 &&
                           file.times.mft_changed == made_file_time + 2 && file.times.accessed == made_file_time + 3;
        EXPECT_EQ(times, file.where != listed_in::nowhere);
    }
    return text;
}

TEST(DirectoryListing, EntriesInUseAndRemnants) {
    bytes node(16);
    for (const std::uint64_t entry : {41U, 40U}) append(node, entry_of(entry));
    append(node, last_index_entry());
    poke<std::uint32_t>(node, index_node_header::first_entry, 16);
    poke<std::uint32_t>(node, index_node_header::total_size, static_cast<std::uint32_t>(node.size() - 16));
    for (const std::uint64_t entry : {42U, 40U, 60U}) append(node, entry_of(entry));
    EXPECT_EQ(listed(node), "! 40 41 (42)");
    EXPECT_EQ(listed(node, false), "! 40 41");

    constexpr std::size_t second = 16 + 88;
    const std::tuple<std::size_t, std::uint64_t, const char*> changes[] = {
        {second + index_entry::length, 513, "! 41"},      {second + index_entry::key_length, 513, "! 41"},
        {second + index_entry::flags, 3, "! 41"},         {index_node_header::total_size, 88, "! 41"},
        {index_node_header::total_size, 4095, "! 40 41"}, {index_node_header::total_size, 4096, ""},
        {index_node_header::first_entry, 5000, ""}};
    for (const auto& [at, value, expected] : changes) {
        EXPECT_EQ(listed(poked(node, at, static_cast<std::uint16_t>(value)), false), expected) << at << "=" << value;
    }
    EXPECT_EQ(listed(poked(node, second, std::uint64_t{0}), false), "! 41");
    EXPECT_EQ(listed(bytes(node.begin(), node.begin() + second + 80), false), "! 41");  // the space ends in the second
}

// A node with entries for 41 and 40, the first with a name of so many units.
bytes node_with_name(std::size_t length) {
    bytes node(16);
    append(node, index_entry_of(41, home, std::u16string(length, u'n')));
    append(node, entry_of(40));
    append(node, last_index_entry());
    poke<std::uint32_t>(node, index_node_header::first_entry, 16);
    poke<std::uint32_t>(node, index_node_header::total_size, static_cast<std::uint32_t>(node.size() - 16));
    return node;
}

// The longest name that there is, in an entry in use and in a remnant; a shorter one behind the first.
TEST(DirectoryListing, ALongNameEndsItUnlessItIsComplete) {
    EXPECT_EQ(listed(node_with_name(215), false), "! 40 41");
    EXPECT_EQ(listed(node_with_name(216), false), "");
    bytes node = node_with_name(255);
    append(node, index_entry_of(42, home, std::u16string(255, u'n')));
    const auto found = [&](bool complete, std::uint64_t file) {
        directory_listing listing;
        listing.want(reference(file, 1));
        collect_index_entries(byte_view(node), true, home, {.slack = complete, .complete = complete}, listing);
        return listing.files().front().where;
    };
    for (const std::uint64_t file : {40U, 41U, 42U}) EXPECT_EQ(found(false, file), listed_in::nowhere);
    for (const std::uint64_t file : {40U, 41U}) EXPECT_EQ(found(true, file), listed_in::index);
    EXPECT_EQ(found(true, 42), listed_in::slack);
}

// A directory that shrank frees index blocks and leaves them as they are. What they hold counts, used or not, and only
// a complete listing tells that it is a remnant.
TEST(DirectoryListing, FreedBlocks) {
    ntfs_image_builder made;
    made.build();
    const made_attribute blocks{.type = attribute_type::index_allocation,
                                .name = u"$I30",
                                .runs = run_list({{20, 3}}),
                                .real_size = 4096};  // of the first alone
    const made_attribute used{
        .type = attribute_type::bitmap, .name = u"$I30", .value = {4, 0, 0, 0, 0, 0, 0, 0}};  // the last
    made.put(30, {.attributes = {name_attribute(u"home"), index_root({}), blocks, used}, .flags = 3, .sequence = 1});
    made.write(20 * 4096, index_block_of({40}));
    made.write(21 * 4096, poked(index_block_of({41}), 0, std::uint32_t{0}));
    made.write(22 * 4096, index_block_of({42}));
    made.write(22 * 4096 + 24 + 64 + 24 + 16, entry_of(43));  // behind the entry that ends the node
    opened_volume opened(made.image);
    ASSERT_TRUE(opened.volume.mount());
    for (const bool complete : {false, true}) {
        mft_entries_ctx context(opened.volume.mft(), !complete, complete);
        directory_listing listing;
        for (std::uint64_t i = 40; i < 44; ++i) listing.want(reference(i, 1));
        listed_parent found;
        std::uint64_t parent = home;
        ASSERT_TRUE(list_parent_directory(context, parent, listing, found));
        const std::array expected{complete ? listed_in::slack : listed_in::index, listed_in::nowhere, listed_in::index,
                                  listed_in::slack};
        EXPECT_TRUE(std::ranges::equal(listing.files(), expected, {}, &wanted_file::where));
    }
}

}  // namespace
