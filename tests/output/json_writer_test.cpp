// JSON Lines: every key and its absence, the times, names of any kind.
#include "journal/journal_collection.h"
#include "output/layouts.h"
#include "support/command_line.h"

#include <gtest/gtest.h>

namespace {

// The line up to the key, from the key before.
std::string between(const std::string& line, const std::string& from, const std::string& to) {
    const std::size_t begin = line.find("\"" + from + "\":");
    const std::size_t end = to.empty() ? line.size() : line.find(",\"" + to + "\":");
    return begin == std::string::npos || end == std::string::npos ? line : line.substr(begin, end - begin);
}

}  // namespace

TEST(JsonWriter, EveryKeyInItsPlace) {
    const std::string file =
        R"("file_reference":"42-3","parent_file_reference":"5-5",)"
        R"("mft_entry":42,"mft_sequence":3,"parent_entry":5,"parent_sequence":5,)"
        R"("update_sequence_number":4096,"update_reason":["USN_REASON_FILE_CREATE","USN_REASON_CLOSE"],)"
        R"("update_reason_flags":2147483904,"update_source_flags":0,)";
    journal_entry entry = sample_entry();
    entry.parent_path = "[root]\\Users\\a\"\u00e9\\";
    entry.name = u"\"X\".PN\u00c9";
    entry.status = mft_status::valid;
    entry.index_modified = sample_time;
    entry.index_created = sample_time + 12'345'678'900'000;
    entry.origin = record_origin::shadow_copy;
    entry.snapshot_label = "SnapID: 1";
    const std::string options =
        "-jsonl -show_dir_path -pulltimes -show_offset -hostname h\\ -username \xC3\xA9\xC3~\xED\xA0\x80";
    EXPECT_EQ(
        written(options, {entry}),
        R"({"message":"\\Users\\a\"é\\\"X\".PNÉ: file_created; file_closed",)"
        R"("datetime":"2024-01-02T12:34:56.7891234+00:00","timestamp":1704198896789123,)"
        R"("timestamp_desc":"USN Created","data_type":"fs:ntfs:usn_change","filename":"\"X\".PNÉ","extension":"pné",)"
        R"("path":"\\Users\\a\"é\\\"X\".PNÉ","directory":"\\Users\\a\"é","mft_status":"valid",)" +
            file +
            R"("security_id":0,"file_attribute_flags":32,"file_attributes":["FILE_ATTRIBUTE_ARCHIVE"],)"
            R"("file_modified":"2024-01-02T12:34:56.7891234+00:00",)"
            R"("file_created":"2024-01-16T19:31:04.6791234+00:00",)"
            R"("record_origin":"shadow_copy","snapshot":"SnapID: 1","usn_version":2,"offset":32256,)"
            R"("source":"j","host":"h\\","user":"é� �"})"
            "\n");
    entry.parent_path = "[root]\\";
    EXPECT_EQ(between(written(options, {entry}), "path", "mft_status"), R"("path":"\\\"X\".PNÉ","directory":"\\")");
    entry.status = mft_status::parent_gone;
    entry.parent_path = {};
    EXPECT_EQ(between(written(options, {entry}), "extension", "file_reference"),
              R"("extension":"pné","mft_status":"del/parent")");
    entry = sample_entry();
    entry.version = 3;
    entry.has_details = true;
    entry.details.parent_ref_high = 0xABC;
    EXPECT_EQ(
        between(written("-jsonl", {entry}), "file_reference", "update_sequence_number"),
        R"("file_reference":"42-3","parent_file_reference":"0000000000000abc0005000000000005","mft_entry":42,"mft_sequence":3)");
}

TEST(JsonWriter, TimesAndTheRecordsThatAreWritten) {
    constexpr std::uint64_t epoch = 116'444'736'000'000'000, year_10000 = 2'650'467'744'000'000'000;
    const std::tuple<std::uint64_t, std::string, std::string> cases[] = {
        {epoch, "1970-01-01T00:00:00.0000000", "0"},
        {epoch - 1, "1969-12-31T23:59:59.9999999", "-1"},
        {epoch - 10, "1969-12-31T23:59:59.9999990", "-1"},
        {1, "1601-01-01T00:00:00.0000001", "-11644473600000000"},
        {year_10000 - 1, "9999-12-31T23:59:59.9999999", "253402300799999999"},
        {year_10000, "1970-01-01T00:00:00.0000000", "0"},
    };
    for (const auto& [filetime, datetime, timestamp] : cases) {
        const bool timed = filetime < year_10000;
        const std::string line = written("-a -jsonl", {sample_entry(0x80000100, filetime)});
        EXPECT_EQ(between(line, "datetime", "data_type"),
                  "\"datetime\":\"" + datetime + "+00:00\",\"timestamp\":" + timestamp + ",\"timestamp_desc\":\"USN " +
                      (timed ? "Created\"" : "Without Time\",\"time_missing\":true"));
        EXPECT_EQ(written("-jsonl", {sample_entry(0x80000100, filetime)}), timed ? line : "");
    }
    EXPECT_EQ(written("-jsonl", {sample_entry(0x100), journal_entry{}}), "");
    EXPECT_EQ(written("-jsonl -a", {journal_entry{}}), "");
    EXPECT_NE(written("-jsonl -a", {sample_entry(0)}).find(R"("USN Other Change")"), std::string::npos);

    journal_entry entry = sample_entry(2, 0);
    entry.version = 4;
    entry.name.clear();
    entry.has_details = true;
    entry.details.extents = {{0, 65536}, {1 << 20, -1}};
    EXPECT_EQ(written("-jsonl", {entry}), "");
    const std::string line = written("-jsonl -a -show_dir_path", {entry});
    EXPECT_EQ(between(line, "data_type", "mft_entry"),
              R"("data_type":"fs:ntfs:usn_change","mft_status":"del/entry","file_reference":"42-3",)"
              R"("parent_file_reference":"5-5")");
    EXPECT_EQ(between(line, "update_source_flags", "usn_version"),
              R"("update_source_flags":0,"extents":[[0,65536],[1048576,-1]],"record_origin":"journal")");
}

TEST(JsonWriter, TheFirstThatAppliesDescribesAReason) {
    // clang-format off
    const std::pair<std::uint32_t, const char*> in_order[] = {
        {0x200, "Deleted"}, {0x2000, "Renamed"}, {0x1000, "Renamed From"}, {0x100, "Created"}, {0x1, "Data Overwritten"},
        {0x2, "Data Added"}, {0x4, "Data Truncated"}, {0x40, "Stream Changed"}, {0x800, "Security Changed"},
        {0x8000, "Attributes Changed"}, {0x10000, "Hard Link Changed"}, {0x400, "Other Change"}, {0x80000000, "Closed"}};
    // clang-format on
    std::uint32_t reason = 0;
    for (std::size_t i = std::size(in_order); i-- > 0;) {
        reason |= in_order[i].first;
        EXPECT_EQ(between(written("-a -jsonl", {sample_entry(reason)}), "timestamp_desc", "data_type"),
                  std::string("\"timestamp_desc\":\"USN ") + in_order[i].second + "\"");
    }
    for (const std::uint32_t stream : {0x10U, 0x20U, 0x200000U}) {
        EXPECT_NE(written("-a -jsonl", {sample_entry(stream)}).find("\"USN Stream Changed\""), std::string::npos);
    }
}

// A journal, and the same again in each of three shadow copies; one of the copies has a record with another bit.
TEST(JsonWriter, ARecordThatIsFoundAgainIsWrittenOnce) {
    journal_collection records;
    const auto add = [&](std::uint64_t time, std::uint32_t security, record_origin origin, std::string_view label) {
        journal_entry entry = sample_entry(0x80000100, time);
        entry.security_id = security;
        entry.origin = origin;
        entry.snapshot_label = label;
        records.add(entry);
    };
    for (const std::uint64_t time : {sample_time, sample_time + 10}) add(time, 7, record_origin::journal, "");
    add(sample_time, 7, record_origin::unallocated, "");
    add(sample_time, 7, record_origin::unallocated, "");
    for (const std::string label : {"SnapID: a", "SnapID: b", "SnapID: c"}) {
        add(sample_time, 7, record_origin::shadow_copy, label);
        add(sample_time + 10, label.back() == 'b' ? 6 : 7, record_origin::shadow_copy, label);
    }
    add(sample_time, 7, record_origin::slack, "");
    const auto run = [&](const std::string& options, std::uint64_t repeats) {
        std::ostringstream out;
        run_meter meter;
        progress shown;
        record_account account;
        EXPECT_TRUE(uni::write_records(out, parsed_options(words(options)).settings.layout, {records, "j"}, meter,
                                       shown, account));
        EXPECT_EQ(account.of(record_fate::found_again), repeats);
        return out.str();
    };
    std::istringstream lines(run("-jsonl -unique", 8));
    for (const std::string expected :
         {R"("record_origin":"journal","also_in":["unallocated","SnapID: a","SnapID: b","SnapID: c","slack"])",
          R"("record_origin":"journal","also_in":["SnapID: a","SnapID: c"])",
          R"("record_origin":"shadow_copy","snapshot":"SnapID: b")"}) {
        std::string line;
        std::getline(lines, line);
        EXPECT_EQ(between(line, "record_origin", "usn_version"), expected);
    }
    // What is counted knows nothing of what is chosen.
    EXPECT_EQ(std::ranges::count(run("-bodyfile -unique", 8), '\n'), 3);
    EXPECT_EQ(run("-bodyfile -unique -to 2024-01-02", 8), "");
}
