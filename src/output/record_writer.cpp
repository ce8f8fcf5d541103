#include "output/record_writer.h"

#include "journal/journal_collection.h"
#include "output/csv_writer.h"
#include "output/text_buffer.h"

#include <ostream>

namespace uni {
namespace {

constexpr std::size_t block_bytes = 64 * std::size_t{1024};

// Lets `append_record(entry, text)` turn every record into text, which goes to the stream whenever there are `enough`
// bytes.
template <typename append_record>
bool write_in_order(std::ostream& out, journal_collection& journal, std::size_t enough, append_record append) {
    text_buffer block;
    const auto hand_on = [&out, &block] {
        out.write(block.data(), static_cast<std::streamsize>(block.size()));
        block.clear();
        return out.good();
    };
    journal.put_in_order();
    journal_entry entry;
    for (std::size_t place = 0; place < journal.size(); ++place) {
        journal.read_in_order(place, entry);
        append(entry, block);
        if (block.size() >= enough && !hand_on()) return false;
    }
    return hand_on();
}

bool write_with_chosen_writer(std::ostream& out, journal_collection& journal, usnjrnl_context& settings) {
    csv_writer table(settings);
    return write_in_order(out, journal, block_bytes, [&table](const journal_entry& entry, text_buffer& text) {
        table.write_csv_record(entry, text);
    });
}

}  // namespace

bool write_records(std::ostream& out, usnjrnl_context& settings, status_line& status) {
    const bool taken = settings.journal == nullptr || write_with_chosen_writer(out, *settings.journal, settings);
    if (settings.progress) status.clear_status();
    return taken;
}

}  // namespace uni
