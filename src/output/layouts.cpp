#include "output/layouts.h"

#include "journal/ordered_reader.h"
#include "output/body_writer.h"
#include "output/csv_writer.h"
#include "output/json_writer.h"
#include "output/l2t_writer.h"
#include "output/record_filter.h"
#include "output/text_buffer.h"
#include "output/xml_document.h"
#include "output/xml_writer.h"

#include <algorithm>
#include <ostream>

namespace uni {
namespace {

// Hands a writer's text on.
class text_sink {
public:
    text_sink(std::ostream& out, run_meter& meter) : out_(out), meter_(meter) {}

    [[nodiscard]] text_buffer& text() { return text_; }

    // False when the stream did not take what was due.
    [[nodiscard]] bool record_is_done() {
        constexpr std::size_t block_bytes = 64 * std::size_t{1024};
        return text_.size() < block_bytes || hand_on();
    }

    [[nodiscard]] bool hand_on() {
        out_.write(text_.data(), static_cast<std::streamsize>(text_.size()));
        out_.flush();
        meter_.count(phase::write, 0, text_.size());
        text_.clear();
        return out_.good();
    }

private:
    std::ostream& out_;
    run_meter& meter_;
    text_buffer text_;
};

template <typename writer, typename filter>
bool write_chosen(writer& to, ordered_reader& in_order, const writing& on, const filter& takes) {
    constexpr std::size_t between_words = 1024;  // records
    const std::size_t count = in_order.size();
    text_sink sink(on.out, on.meter);
    journal_entry entry;
    to.write_header(sink.text());
    for (std::size_t done = 0; in_order.next(entry); ++done) {
        if (done % between_words == 0) on.shown.tell("writing", done, count, "records");
        on.account.count(takes(entry) ? to.write_record(entry, sink.text()) : record_fate::outside);
        if (!sink.record_is_done()) return false;
    }
    on.account.count(record_fate::found_again, in_order.repeats());
    on.meter.count(phase::write, count, 0);
    return sink.hand_on();
}

// `more`: what the writer wants to know beside the settings and whether there are paths.
template <typename writer, typename... facts>
bool write_with(const writing& on, const facts&... more) {
    const in_phase now(on.meter, phase::write);
    ordered_reader in_order(on.records.all, on.meter, on.settings.unique);
    writer to(on.settings, in_order.has_paths(), more...);
    if (on.settings.choice.all()) return write_chosen(to, in_order, on, [](const journal_entry&) { return true; });
    record_filter filter(on.settings.choice);
    return write_chosen(to, in_order, on, [&](const journal_entry& entry) { return filter.takes(entry); });
}

bool write_json(const writing& on) { return write_with<json_writer>(on, on.records.source); }

std::string run_header_alone(const layout_settings& /*settings*/, const frame_facts& facts) {
    return std::string(facts.run_header);
}

std::string nothing(const layout_settings& /*settings*/, const frame_facts& /*facts*/) { return {}; }

constexpr layout_row rows[] = {
    {.id = layout::table, .separator = " | ", .beginning = run_header_alone, .write = write_with<csv_writer>},
    {.id = layout::multiline, .option = "-multiline", .beginning = run_header_alone, .write = write_with<csv_writer>},
    {.id = layout::csvl2t,
     .option = "-csvl2t",
     .separator = ",",
     .beginning = run_header_alone,
     .write = write_with<l2t_writer>},
    {.id = layout::bodyfile,
     .option = "-bodyfile",
     .separator = "|",
     .beginning = run_header_alone,
     .write = write_with<body_writer>},
    {.id = layout::xml,
     .begins_at_once = false,
     .option = "-xml",
     .beginning = xml_beginning,
     .end = xml_end,
     .write = write_with<xml_writer>,
     .comment = xml_comment},
    {.id = layout::jsonl, .bare = true, .option = "-jsonl", .beginning = nothing, .write = write_json},
};

}  // namespace

std::span<const layout_row> layouts() { return rows; }

const layout_row& row_of(layout id) { return *std::ranges::find(rows, id, &layout_row::id); }

bool write_records(std::ostream& out, const layout_settings& settings, const run_records& records, run_meter& meter,
                   progress& shown, record_account& account) {
    return row_of(settings.chosen).write({out, settings, records, meter, shown, account});
}

}  // namespace uni
