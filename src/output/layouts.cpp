#include "output/layouts.h"

#include "output/body_writer.h"
#include "output/csv_writer.h"
#include "output/l2t_writer.h"
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

template <typename writer>
bool write_in_order(std::ostream& out, const layout_settings& settings, const journal_collection& records,
                    run_meter& meter, progress& shown, record_account& account) {
    constexpr std::size_t between_words = 1024;  // records
    const in_phase writing(meter, phase::write);
    const std::size_t count = records.size();
    writer to(settings, records.has_paths());
    text_sink sink(out, meter);
    ordered_reader in_order(records, meter);
    journal_entry entry;
    to.write_header(sink.text());
    for (std::size_t done = 0; in_order.next(entry); ++done) {
        if (done % between_words == 0) shown.tell("writing", done, count, "records");
        account.count(to.write_record(entry, sink.text()));
        if (!sink.record_is_done()) return false;
    }
    meter.count(phase::write, count, 0);
    return sink.hand_on();
}

std::string run_header_alone(const layout_settings& /*settings*/, const frame_facts& facts) {
    return std::string(facts.run_header);
}

constexpr layout_row rows[] = {
    {layout::table, "", " | ", true, run_header_alone, "", write_in_order<csv_writer>},
    {layout::multiline, "-multiline", "", true, run_header_alone, "", write_in_order<csv_writer>},
    {layout::csvl2t, "-csvl2t", ",", true, run_header_alone, "", write_in_order<l2t_writer>},
    {layout::bodyfile, "-bodyfile", "|", true, run_header_alone, "", write_in_order<body_writer>},
    {layout::xml, "-xml", "", false, xml_beginning, xml_end, write_in_order<xml_writer>, xml_comment},
};

}  // namespace

std::span<const layout_row> layouts() { return rows; }

const layout_row& row_of(layout id) { return *std::ranges::find(rows, id, &layout_row::id); }

bool write_records(std::ostream& out, const layout_settings& settings, const journal_collection& records,
                   run_meter& meter, progress& shown, record_account& account) {
    return row_of(settings.chosen).write(out, settings, records, meter, shown, account);
}

}  // namespace uni
