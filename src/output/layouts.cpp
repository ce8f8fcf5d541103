#include "output/layouts.h"

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
write_outcome write_chosen(writer& to, std::ostream& out, const layout_settings& settings,
                           const journal_collection& records, run_meter& meter, progress& shown, const filter& takes) {
    constexpr std::size_t between_words = 1024;  // records
    const in_phase writing(meter, phase::write);
    const std::size_t count = records.size();
    text_sink sink(out, meter);
    ordered_reader in_order(records, meter, settings.unique);
    journal_entry entry;
    to.write_header(sink.text());
    for (std::size_t done = 0; in_order.next(entry); ++done) {
        if (done % between_words == 0) shown.tell("writing", done, count, "records");
        if (!takes(entry)) continue;
        to.write_record(entry, sink.text());
        if (!sink.record_is_done()) return {};
    }
    meter.count(phase::write, count, 0);
    return {.whole = sink.hand_on(), .repeats = in_order.repeats()};
}

template <typename writer>
write_outcome write_in_order(writer& to, std::ostream& out, const layout_settings& settings,
                             const journal_collection& records, run_meter& meter, progress& shown) {
    if (settings.choice.all()) {
        return write_chosen(to, out, settings, records, meter, shown, [](const journal_entry&) { return true; });
    }
    record_filter filter(settings.choice);
    return write_chosen(to, out, settings, records, meter, shown,
                        [&](const journal_entry& entry) { return filter.takes(entry); });
}

template <typename writer>
write_outcome write_with(std::ostream& out, const layout_settings& settings, const run_records& records,
                         run_meter& meter, progress& shown) {
    writer to(settings, records.all.has_paths());
    return write_in_order(to, out, settings, records.all, meter, shown);
}

write_outcome write_json(std::ostream& out, const layout_settings& settings, const run_records& records,
                         run_meter& meter, progress& shown) {
    json_writer to(settings, records.all.has_paths(), records.source);
    return write_in_order(to, out, settings, records.all, meter, shown);
}

std::string run_header_alone(const layout_settings& /*settings*/, const frame_facts& facts) {
    return std::string(facts.run_header);
}

std::string nothing(const layout_settings& /*settings*/, const frame_facts& /*facts*/) { return {}; }

constexpr layout_row rows[] = {
    {layout::table, "", " | ", false, true, run_header_alone, "", write_with<csv_writer>},
    {layout::multiline, "-multiline", "", false, true, run_header_alone, "", write_with<csv_writer>},
    {layout::csvl2t, "-csvl2t", ",", false, true, run_header_alone, "", write_with<l2t_writer>},
    {layout::bodyfile, "-bodyfile", "|", false, true, run_header_alone, "", write_with<body_writer>},
    {layout::xml, "-xml", "", false, false, xml_beginning, xml_end, write_with<xml_writer>},
    {layout::jsonl, "-jsonl", "", true, false, nothing, "", write_json},
};

}  // namespace

std::span<const layout_row> layouts() { return rows; }

const layout_row& row_of(layout id) { return *std::ranges::find(rows, id, &layout_row::id); }

write_outcome write_records(std::ostream& out, const layout_settings& settings, const run_records& records,
                            run_meter& meter, progress& shown) {
    return row_of(settings.chosen).write(out, settings, records, meter, shown);
}

}  // namespace uni
