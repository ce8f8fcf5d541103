#include "output/record_writer.h"

#include "journal/journal_collection.h"
#include "output/body_writer.h"
#include "output/csv_writer.h"
#include "output/l2t_writer.h"
#include "output/text_buffer.h"
#include "output/xml_writer.h"

#include <ostream>

namespace uni {
namespace {

// How a writer's text goes to the stream: in blocks, or each record at once, so that whoever follows the file, or reads
// it after a kill, sees every record whole.
enum class handing { in_blocks, record_by_record };

class text_sink {
public:
    text_sink(std::ostream& out, handing how, run_meter& meter) : out_(out), how_(how), meter_(meter) {}

    // Where the next record goes. A stream that failed before gets a new chance with every record that goes out alone.
    text_buffer& next_record() {
        if (how_ == handing::record_by_record) out_.clear();
        return text_;
    }

    // False when the stream did not take what was due.
    [[nodiscard]] bool record_is_done() {
        constexpr std::size_t block_bytes = 64 * std::size_t{1024};
        return text_.size() < (how_ == handing::in_blocks ? block_bytes : 1) || hand_on();
    }

    [[nodiscard]] bool hand_on() {
        out_.write(text_.data(), static_cast<std::streamsize>(text_.size()));
        meter_.count(phase::write, 0, text_.size());
        if (how_ == handing::record_by_record) out_.flush();
        text_.clear();
        return out_.good();
    }

private:
    std::ostream& out_;
    handing how_;
    run_meter& meter_;
    text_buffer text_;
};

template <auto write_record, typename writer>
bool write_in_order(std::ostream& out, const usnjrnl_context& settings, writer to, handing how = handing::in_blocks) {
    constexpr std::size_t between_words = 1024;  // records
    run_meter& meter = *settings.meter;
    const in_phase writing(meter, phase::write);
    const std::size_t count = settings.journal->size();
    text_sink sink(out, how, meter);
    ordered_reader records(*settings.journal, meter);
    journal_entry entry;
    for (std::size_t done = 0; records.next(entry); ++done) {
        if (done % between_words == 0) meter.tell("writing", done, count, "records");
        (to.*write_record)(entry, sink.next_record());
        if (!sink.record_is_done()) return false;
    }
    meter.count(phase::write, count, 0);
    return sink.hand_on();
}

bool write_with_chosen_writer(std::ostream& out, usnjrnl_context& settings) {
    if (settings.xml) {
        return write_in_order<&xml_writer::write_xml_record>(out, settings, xml_writer(settings),
                                                             handing::record_by_record);
    }
    if (settings.bodyfile) return write_in_order<&body_writer::write_body_record>(out, settings, body_writer());
    if (settings.csvl2t) return write_in_order<&l2t_writer::write_l2t_record>(out, settings, l2t_writer(settings));
    return write_in_order<&csv_writer::write_csv_record>(out, settings, csv_writer(settings));
}

}  // namespace

bool write_records(std::ostream& out, usnjrnl_context& settings, status_line& status) {
    const bool taken = settings.journal == nullptr || write_with_chosen_writer(out, settings);
    if (settings.progress) status.clear_status();
    return taken;
}

}  // namespace uni
