#include "ntfs/directory_listing.h"

#include "ntfs/index_slack.h"
#include "opened_volume.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint64_t home = reference(30, 1);
constexpr std::uint64_t moment = 130'000'000'000'000'000;

// A whole entry of a file in `home`; its times are `moment` and the three that follow.
bytes entry_of(std::uint64_t entry, std::size_t name_length = 3) {
    bytes key = name_attribute(std::u16string(name_length, u'n')).value;
    poke<std::uint64_t>(key, file_name_value::parent, home);
    for (std::size_t i = 0; i < 4; ++i) poke<std::uint64_t>(key, file_name_value::created + 8 * i, moment + i);
    bytes out(index_entry::key);
    append(out, key);
    out.resize((out.size() + 7) / 8 * 8);
    poke<std::uint64_t>(out, index_entry::reference, reference(entry, 1));
    poke<std::uint16_t>(out, index_entry::length, static_cast<std::uint16_t>(out.size()));
    poke<std::uint16_t>(out, index_entry::key_length, static_cast<std::uint16_t>(key.size()));
    return out;
}

std::string starts_in(const bytes& slack) {
    std::string text;
    for (const std::size_t start : find_slack_entries(byte_view(slack), home)) text += std::to_string(start) + " ";
    return text;
}

template <std::unsigned_integral T>
std::string starts_with(std::size_t at, T value, std::size_t lead = 16) {
    bytes slack(lead);
    append(slack, entry_of(40));
    slack.resize(slack.size() + 40);
    poke<T>(slack, lead + at, value);
    return starts_in(slack);
}

TEST(IndexSlack, TellsARemnantByItsParentOrByATime) {
    constexpr std::size_t key = index_entry::key;
    EXPECT_EQ(starts_with(index_entry::reference, std::uint64_t{77}), "16 ");
    EXPECT_EQ(starts_with(key, std::uint64_t{77}), "16 ");  // another parent: found by the first time
    bytes slack(16);
    append(slack, entry_of(40));
    slack.resize(160);
    poke<std::uint64_t>(slack, 16 + key, 77);
    for (std::size_t i = 0; i < 3; ++i) {  // by the second, the third, the fourth one
        poke<std::uint64_t>(slack, 16 + key + 8 + 8 * i, 5);
        EXPECT_EQ(starts_in(slack), "16 ") << i;
    }
    poke<std::uint64_t>(slack, 16 + key + 32, 5);
    EXPECT_EQ(starts_in(slack), "");
    // The first and the last moment that count, 1986-01-01 and 2100-01-01.
    for (const auto& [time, found] :
         std::vector<std::pair<std::uint64_t, std::string>>{{121'493'951'999'999'999, ""},
                                                            {121'493'952'000'000'000, "16 "},
                                                            {157'469'184'000'000'000, "16 "},
                                                            {157'469'184'000'000'001, ""}}) {
        poke<std::uint64_t>(slack, 16 + key + 32, time);
        EXPECT_EQ(starts_in(slack), found) << time;
    }
}

TEST(IndexSlack, RefusesWhatNoEntryHolds) {
    constexpr std::size_t key = index_entry::key;
    EXPECT_EQ(starts_with(index_entry::flags, std::uint16_t{2}), "16 ");
    EXPECT_EQ(starts_with(index_entry::flags, std::uint16_t{3}), "");
    EXPECT_EQ(starts_with(index_entry::flags + 2, std::uint16_t{1}), "");
    EXPECT_EQ(starts_with(index_entry::key_length, std::uint16_t{0}), "");
    EXPECT_EQ(starts_with(index_entry::length, std::uint16_t{0}), "");
    EXPECT_EQ(starts_with(index_entry::length, std::uint16_t{71}), "");  // the key has 72 bytes
    EXPECT_EQ(starts_with(key + file_name_value::name_space, std::uint8_t{4}), "");
    EXPECT_EQ(starts_with(key + file_name_value::name_length, std::uint8_t{0}), "");
    EXPECT_EQ(starts_with(key + file_name_value::real_size, std::uint64_t{1}), "");  // more than is allocated
    for (const auto& [length, found] : std::vector<std::pair<std::size_t, std::string>>{{64, "0 "}, {65, ""}}) {
        bytes slack = entry_of(40, length);
        slack.resize(1000);
        EXPECT_EQ(starts_in(slack), found) << length;
    }
    bytes cut = entry_of(40, 10);
    cut.resize((10 + 41) * 2);
    EXPECT_EQ(starts_in(cut), "0 ");
    cut.pop_back();
    EXPECT_EQ(starts_in(cut), "");
}

TEST(IndexSlack, OverlappingStartsGiveWay) {
    // The head of an old entry was overwritten by the entry that ends the node: a remnant of reference 0.
    bytes slack = entry_of(40);
    poke<std::uint64_t>(slack, index_entry::reference, 0);
    poke<std::uint32_t>(slack, index_entry::length, 16);
    poke<std::uint16_t>(slack, index_entry::flags, 2);
    append(slack, entry_of(41));
    EXPECT_EQ(starts_in(slack), "0 88 ");
    // A start that only a time proposes lies 80 bytes before one that its parent proves, then 88.
    for (const auto& [distance, found] : std::vector<std::pair<std::size_t, std::string>>{{80, "80 "}, {88, "0 88 "}}) {
        bytes two = entry_of(40);
        poke<std::uint64_t>(two, index_entry::key, 77);
        two.resize(distance);
        append(two, entry_of(41));
        EXPECT_EQ(starts_in(two), found) << distance;
    }
}

// Which of files 40 to 49 a node lists, a remnant in brackets; "!" when it lists anything.
std::string listed(const bytes& node, bool look_into_slack = true) {
    directory_listing listing;
    for (std::uint64_t i = 40; i < 50; ++i) listing.want(reference(i, 1));
    collect_index_entries(byte_view(node), home, look_into_slack, listing);
    std::string text = listing.any() ? "!" : "";
    for (const wanted_file& file : listing.files()) {
        const std::string number = " " + std::to_string(file.reference & 0xFF);
        if (file.where == listed_in::index) text += number;
        if (file.where == listed_in::slack) text += " (" + number.substr(1) + ")";
        const bool times = file.times.created == moment && file.times.accessed == moment + 3 &&
                           file.times.modified == moment + 1 && file.times.mft_changed == moment + 2;
        EXPECT_EQ(times, file.where != listed_in::nowhere);
    }
    return text;
}

TEST(DirectoryListing, EntriesInUseAndRemnants) {
    bytes node(16);
    poke<std::uint32_t>(node, index_node_header::first_entry, 16);
    for (const std::uint64_t entry : {41U, 40U}) append(node, entry_of(entry));
    bytes end(16);
    poke<std::uint16_t>(end, index_entry::length, 16);
    poke<std::uint16_t>(end, index_entry::flags, 2);
    append(node, end);
    poke<std::uint32_t>(node, index_node_header::total_size, static_cast<std::uint32_t>(node.size() - 16));
    for (const std::uint64_t entry : {42U, 40U, 60U}) append(node, entry_of(entry));
    EXPECT_EQ(listed(node), "! 40 41 (42)");
    EXPECT_EQ(listed(node, false), "! 40 41");

    const auto with = [&node]<std::unsigned_integral T>(std::size_t at, T value) {
        bytes broken = node;
        poke<T>(broken, at, value);
        return listed(broken, false);
    };
    constexpr std::size_t second = 16 + 88;
    EXPECT_EQ(with(second + index_entry::length, std::uint16_t{513}), "! 41");
    EXPECT_EQ(with(second + index_entry::key_length, std::uint16_t{513}), "! 41");
    EXPECT_EQ(with(second + index_entry::reference, std::uint64_t{0}), "! 41");
    EXPECT_EQ(with(second + index_entry::flags, std::uint16_t{3}), "! 41");
    EXPECT_EQ(with(index_node_header::total_size, std::uint32_t{88}), "! 41");
    EXPECT_EQ(with(index_node_header::total_size, std::uint32_t{0}), "");
    EXPECT_EQ(with(index_node_header::total_size, std::uint32_t{4095}), "! 40 41");
    EXPECT_EQ(with(index_node_header::total_size, std::uint32_t{4096}), "");
    EXPECT_EQ(with(index_node_header::first_entry, std::uint32_t{5000}), "");
    EXPECT_EQ(listed(bytes(node.begin(), node.begin() + second + 80), false), "! 41");  // the space ends in the second
}

// Records with sequence number 1.
void put(ntfs_image_builder& made, std::uint64_t entry, const std::vector<made_attribute>& attributes,
         std::uint16_t flags) {
    made.put(entry, {.attributes = attributes, .flags = flags});
    poke<std::uint16_t>(made.image, made.offset_of_record(entry) + mft_record::sequence_number, 1);
}

TEST(DirectoryListing, ParentThatIsThereReusedOrNoDirectory) {
    ntfs_image_builder made;
    made.build();
    put(made, 30, {name_attribute(u"home"), index_root({40})}, 3);
    put(made, 31, {name_attribute(u"empty"), index_root({})}, 3);
    put(made, 32, {name_attribute(u"file"), index_root({40})}, 1);
    put(made, 33, {name_attribute(u"deleted"), index_root({40})}, 2);
    opened_volume opened(made.image);
    ASSERT_TRUE(opened.volume.mount());
    const auto list = [&](std::uint64_t parent) {
        mft_entries_ctx context(opened.volume, true);
        directory_listing listing;
        listing.want(reference(40, 1));
        listed_parent found;
        if (!list_parent_directory(context, parent, listing, found)) return std::string("none");
        return std::to_string(parent >> 48U) + (listing.files()[0].where == listed_in::index ? " lists it" : "");
    };
    EXPECT_EQ(list(reference(30, 1)), "1 lists it");
    EXPECT_EQ(list(reference(30, 0)), "1 lists it");
    EXPECT_EQ(list(reference(30, 2)), "none");
    EXPECT_EQ(list(reference(31, 1)), "none");
    EXPECT_EQ(list(reference(32, 1)), "none");
    EXPECT_EQ(list(reference(33, 1)), "none");
    EXPECT_EQ(list(reference(1U << 30U, 1)), "none");
    EXPECT_EQ(list(~std::uint64_t{0}), "none");
}

// Of what directories claim for their indexes, no more than the volume twice over is read.
TEST(DirectoryListing, IndexesThatClaimTheWholeVolume) {
    ntfs_image_builder made;
    made.build();
    const made_attribute everything{.type = attribute_type::index_allocation,
                                    .name = u"$I30",
                                    .runs = run_list({{1, 1U << 30U}}),
                                    .real_size = 4096};
    for (std::uint64_t i = 30; i < 34; ++i) put(made, i, {name_attribute(u"home"), index_root({40}), everything}, 3);
    opened_volume opened(made.image);
    ASSERT_TRUE(opened.volume.mount());
    mft_entries_ctx context(opened.volume, false);
    opened.faults.reads = 0;
    for (std::uint64_t i = 30; i < 34; ++i) {
        directory_listing listing;
        listed_parent found;
        std::uint64_t parent = reference(i, 1);
        EXPECT_TRUE(list_parent_directory(context, parent, listing, found));
    }
    EXPECT_NE(opened.said.find("err: directory indexes claim more than the volume holds"), std::string::npos);
    EXPECT_LT(opened.faults.reads, 8U);
}

}  // namespace
