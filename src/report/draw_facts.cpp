// Is the journal whole? Facts, each with its figures, what it can mean and what else it can mean. None is a verdict.

#include "report/page.h"

#include "base/file_reference.h"

#include <algorithm>
#include <span>

namespace report {
namespace {

enum class looked : std::uint8_t { not_at_all, none_found, some_found, told };

struct fact {
    std::string_view id;
    std::string_view title;
    std::string_view rows = {};  // the address of the rows behind it, empty for none
    looked how = looked::told;
    html figure = {};
    std::string_view meaning = {};
};

constexpr std::string_view no_record = "no record of the journal itself";
constexpr std::string_view no_mft = "no MFT";

void begin_fact(const fact& one, html& page) {
    page.markup("<article class=\"fact\" id=\"").markup(one.id).markup("\">\n<h3>").markup(one.title).markup("<br/>");
    switch (one.how) {
        case looked::not_at_all: page.markup("<span class=\"tag\">not looked at</span>"); break;
        case looked::none_found: page.markup("<span class=\"tag\">none found</span>"); break;
        case looked::some_found: page.markup("<span class=\"tag some\">found</span>"); break;
        case looked::told: page.markup("<span class=\"tag\">as it is</span>"); break;
    }
    page.markup("</h3>\n<p class=\"fig\">") += one.figure;
    page.markup("</p>\n");
    if (!one.meaning.empty()) page.markup("<p>").markup(one.meaning).markup("</p>\n");
    if (!one.rows.empty() && one.how == looked::some_found) {
        page.markup("<p><a href=\"#").markup(one.rows).markup("\">Records behind it</a></p>\n");
    }
}

void end_fact(html& page) { page.markup("</article>\n"); }

void draw_fact(const fact& one, html& page) {
    begin_fact(one, page);
    end_fact(page);
}

// Whether there is a reason why the source cannot answer: then all of the fact.
bool not_looked_at(fact& one, std::string_view why, html& page) {
    if (why.empty()) return false;
    one.how = looked::not_at_all;
    one.figure.markup(why).markup(": not looked at");
    draw_fact(one, page);
    return true;
}

looked found_if(std::uint64_t count) { return count == 0 ? looked::none_found : looked::some_found; }

std::string caption_of(std::uint64_t shown, std::uint64_t all, std::string_view which) {
    return shown == all ? "All, in order of USN"
                        : "The " + grouped(shown) + " " + std::string(which) + ", in order of USN";
}

// ---- By the records alone ----

void draw_gaps(const findings& found, html& page) {
    const wholeness& whole = found.whole;
    fact one{.id = "gaps", .title = "Gaps between USNs", .rows = "r-gaps"};
    if (not_looked_at(one, found.first_in_usn == nullptr ? no_record : "", page)) return;
    one.how = found_if(whole.gap_count);
    one.figure.markup(counted(whole.gap_count, "gap"));
    if (whole.gap_count != 0) one.figure.markup(", ").size(whole.gap_bytes);
    one.meaning =
        "A USN is the byte of the journal at which a record stands, so each record tells where the next one begins; "
        "the padding at the end of a page of 4,096 bytes is not counted. A gap can mean that records were overwritten "
        "or zeroed, or that pieces of several journals stand here; it can also mean bytes that could not be read, "
        "records that are kept out by the rules of a run without -complete, or a copy taken while the journal was "
        "written.";
    begin_fact(one, page);
    if (!whole.gaps.empty()) {
        constexpr column columns[] = {{"Ends behind USN", "n"}, {"Goes on at USN", "n"}, {"Bytes", "n"},
                                      {"Time before"},          {"Time behind"},         {"In between"}};
        begin_table(caption_of(whole.gaps.size(), whole.gap_count, "largest"), columns, page);
        for (const neighbours& gap : whole.gaps) {
            draw_cells(
                {html().plain_number(gap.before->usn), html().plain_number(gap.behind->usn), html().number(gap.size),
                 html().time(gap.before->timestamp, 3), html().time(gap.behind->timestamp, 3),
                 html().markup(gap.unsound_between ? "records that make no sense" : "")},
                columns, page);
        }
        end_table(page);
    }
    end_fact(page);
}

void draw_clock(const findings& found, html& page) {
    const wholeness& whole = found.whole;
    fact one{.id = "clock", .title = "Time running backward", .rows = "r-clock"};
    if (not_looked_at(one, found.first_in_usn == nullptr ? no_record : "", page)) return;
    one.how = found_if(whole.step_count);
    one.figure.markup(counted(whole.step_count, "step")).markup(" back from one record to the next");
    if (!whole.steps_back.empty()) {
        const auto largest = std::ranges::max_element(whole.steps_back, {}, &neighbours::size);
        one.figure.markup(", the largest by ").duration(largest->size);
    }
    one.meaning =
        "In order of USN times only grow. A step back can mean a clock that was set back by hand, or a volume that "
        "was used on another machine; it can also mean a clock that was corrected over the network, which is common "
        "after a start and small, or another system on the same machine that keeps its clock in local time.";
    begin_fact(one, page);
    if (!whole.steps_back.empty()) {
        constexpr column columns[] = {{"At USN", "n"}, {"Back by"}, {"Time before"}, {"Time behind"}};
        begin_table(caption_of(whole.steps_back.size(), whole.step_count, "largest"), columns, page);
        for (const neighbours& step : whole.steps_back) {
            draw_cells({html().plain_number(step.behind->usn), html().duration(step.size),
                        html().time(step.before->timestamp, 3), html().time(step.behind->timestamp, 3)},
                       columns, page);
        }
        end_table(page);
    }
    end_fact(page);
}

void draw_carved(const findings& found, html& page) {
    const wholeness& whole = found.whole;
    const std::uint64_t outside = whole.carved_behind + whole.carved_far_under;
    fact one{.id = "carved", .title = "Carved records from elsewhere", .rows = "r-carved"};
    if (not_looked_at(one,
                      whole.carved == 0               ? "nothing was carved"
                      : found.first_in_usn == nullptr ? no_record
                                                      : "",
                      page)) {
        return;
    }
    one.how = found_if(outside);
    one.figure.number(whole.carved_behind).markup(" behind the last USN of the journal, ").number(whole.carved_under);
    one.figure.markup(" under its first one, of those ").number(whole.carved_far_under);
    one.figure.markup(" by more bytes than it is long");
    one.meaning =
        "Records under the first USN are what wraps out of every journal in use. Those behind the last one can mean "
        "an earlier journal, deleted and made anew, or a volume that was put back to an earlier state; they can also "
        "come from another volume whose clusters lie here, or from a copy of the journal that was taken first.";
    draw_fact(one, page);
}

// ---- By what the volume says of its journal ----

std::string_view no_limits(const run_facts& run) {
    if (run.limits) return {};
    return run.has_volume ? "the volume has no $Max that can be read" : "no volume, so no $Max";
}

// Where the data would begin by the sizes of $Max. All in bytes of the journal.
struct expected_begin {
    bool wrapped = false;
    std::int64_t lowest = 0;
    std::int64_t highest = 0;
};

expected_begin begin_by(const journal_limits& limits, std::int64_t end) {
    constexpr std::uint64_t most = std::uint64_t{1} << 61U;  // sizes beyond are none
    const auto maximum = static_cast<std::int64_t>(std::min(limits.maximum_size, most));
    const auto delta = static_cast<std::int64_t>(std::min(limits.allocation_delta, most / 4));
    const std::int64_t lowest = std::clamp<std::int64_t>(limits.lowest_valid_usn, 0, std::max<std::int64_t>(end, 0));
    if (end - lowest <= maximum + delta) return {false, lowest, lowest};
    return {true, std::max(lowest, end - maximum - 2 * delta), end - maximum};
}

html begin_text(const findings& found, const journal_limits& limits) {
    constexpr std::int64_t page_size = 4096;
    const std::int64_t first = found.first_in_usn->usn;
    const std::int64_t end = end_of(*found.last_in_usn);
    const expected_begin expected = begin_by(limits, end);
    html out;
    out.markup(expected.wrapped ? "wrapped: " : "young: ").markup("the records begin at USN ").plain_number(first);
    out.markup(", ")
        .size(static_cast<std::uint64_t>(end) - static_cast<std::uint64_t>(first))
        .markup(" before their end; ");
    out.markup("by $Max they would begin ");
    if (expected.wrapped) {
        out.markup("from ").plain_number(expected.lowest).markup(" to ").plain_number(expected.highest);
    } else {
        out.markup("at ").plain_number(expected.lowest);
    }
    if (first >= expected.lowest && first - expected.highest <= page_size) return out.markup(", as they do");
    if (first < expected.lowest) {
        return out.markup(", which is ")
            .size(static_cast<std::uint64_t>(expected.lowest) - static_cast<std::uint64_t>(first))
            .markup(" later");
    }
    return out.markup(", which is ")
        .size(static_cast<std::uint64_t>(first) - static_cast<std::uint64_t>(expected.highest))
        .markup(" earlier");
}

void draw_begin(const findings& found, html& page) {
    fact one{.id = "begin", .title = "Begin of the data, by $Max"};
    if (not_looked_at(one, no_limits(found.run), page) ||
        not_looked_at(one, found.first_in_usn == nullptr ? no_record : "", page)) {
        return;
    }
    const journal_limits& limits = *found.run.limits;
    one.figure = begin_text(found, limits);
    one.meaning =
        "The system drops the oldest records when the journal is longer than its maximum size and one allocation "
        "delta. Data that begin later can mean records that were cleared or could not be read, and earlier ones a "
        "size that was changed; both can also mean that the sizes were changed a short time ago, or a copy that is "
        "not of one moment.";
    begin_fact(one, page);
    page.markup("<p>Maximum size ")
        .size(limits.maximum_size)
        .markup(", allocation delta ")
        .size(limits.allocation_delta);
    page.markup(", identifier ")
        .plain_number(static_cast<std::int64_t>(limits.identifier))
        .markup(", which as a time is ");
    page.time(limits.identifier, 7).markup(".</p>\n");
    end_fact(page);
}

void draw_made_anew(const findings& found, html& page) {
    fact one{.id = "anew", .title = "Lowest valid USN"};
    if (not_looked_at(one, no_limits(found.run), page)) return;
    const std::int64_t lowest = found.run.limits->lowest_valid_usn;
    one.figure.plain_number(lowest);
    if (lowest != 0) {
        one.how = looked::some_found;
        one.figure.markup(", not 0: this is not the first journal of the volume");
    } else {
        one.how = looked::none_found;
    }
    one.meaning =
        "A journal that is made anew goes on behind the USNs of the one before, and says here where it began. "
        "Anything but 0 can mean that the journal was deleted, by a person or by a program that cleans; it can also "
        "mean an upgrade of the system, a repair of the volume, or software that switched the journal off and on.";
    draw_fact(one, page);
}

// ---- By the MFT ----

void draw_entries(std::string_view caption, const std::vector<named_entry>& entries, html& page) {
    if (entries.empty()) return;
    constexpr column columns[] = {{"Entry"}, {"Its last USN", "n"}, {"State"}, {"Name"}};
    begin_table(caption, columns, page);
    for (const named_entry& one : entries) {
        draw_cells({html().markup(reference_text(file_reference(one.entry.number, one.entry.sequence))),
                    html().plain_number(one.entry.last_usn), html().markup(one.entry.in_use ? "in use" : "freed"),
                    html().name(one.name)},
                   columns, page);
    }
    end_table(page);
}

void draw_last_usns(const findings& found, html& page) {
    const mft_comparison& mft = found.mft;
    fact one{.id = "last-usns", .title = "Last USNs of the files"};
    if (not_looked_at(one, !mft.looked_at ? no_mft : found.first_in_usn == nullptr ? no_record : "", page)) return;
    one.how = found_if(mft.without_record + mft.behind_end);
    one.figure.number(mft.without_record).markup(" where the journal has no record, ").number(mft.behind_end);
    one.figure.markup(" behind its end, of ")
        .number(mft.with_usn)
        .markup(" in ")
        .number(mft.entries)
        .markup(" MFT entries");
    one.meaning =
        "Each entry of the MFT keeps the USN of the last change of its file. One inside the journal where no record "
        "stands can mean that the record was removed, one behind the end that the newest records were, or that an "
        "earlier journal went further; both can also mean records that could not be read, or an MFT of a later moment "
        "than the journal.";
    begin_fact(one, page);
    draw_entries("Inside the journal, without a record", found.missing, page);
    draw_entries("Behind the end of the journal", found.later, page);
    end_fact(page);
}

void draw_creations(const findings& found, html& page) {
    const mft_comparison& mft = found.mft;
    fact one{.id = "creations", .title = "Times of creation", .rows = "r-creations"};
    if (not_looked_at(one, !mft.looked_at ? no_mft : "", page)) return;
    one.how = found_if(mft.other_count);
    one.figure.number(mft.other_count).markup(" of ").markup(counted(mft.creations, "created file"));
    one.figure.markup(" have a time in the MFT that is more than a day off");
    one.meaning =
        "The journal tells when a file appeared on the volume, the MFT which time of creation it bears now. That they "
        "differ can mean a time that was set by a program, to hide when the file came; it also means files that were "
        "unpacked, installed or restored with their times, and a name that was used again within seconds of a "
        "deletion.";
    begin_fact(one, page);
    if (!mft.others.empty()) {
        constexpr column columns[] = {{"Created by the journal"}, {"Created by the MFT"}, {"Apart by"}, {"Name"}};
        begin_table(caption_of(mft.others.size(), mft.other_count, "furthest apart"), columns, page);
        for (const other_creation& other : mft.others) {
            const std::uint64_t time = other.record->timestamp;
            const shown_record* const row = found.row_of(other.record->arrival());
            draw_cells({html().time(time), html().time(other.created),
                        html().duration(std::max(time, other.created) - std::min(time, other.created)),
                        html().name(row != nullptr ? row->name : "")},
                       columns, page);
        }
        end_table(page);
    }
    end_fact(page);
}

}  // namespace

void draw_facts(const findings& found, html& page) {
    page.markup(
        "<section id=\"whole\" aria-labelledby=\"whole-title\">\n<h2 id=\"whole-title\">Is the journal whole?</h2>\n"
        "<p>Facts to ask further with, none of them a verdict: each says what it can mean, and what else it "
        "can.</p>\n");
    draw_gaps(found, page);
    draw_clock(found, page);
    draw_begin(found, page);
    draw_made_anew(found, page);
    draw_last_usns(found, page);
    draw_carved(found, page);
    draw_creations(found, page);
    page.markup("</section>\n");
}

}  // namespace report
