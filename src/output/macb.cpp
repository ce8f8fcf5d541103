#include "output/macb.h"

#include "journal/usn_text.h"

#include <utility>

namespace uni {
namespace {

struct slot {
    char letter;
    std::uint32_t reasons;  // any of them
};

// In the order of the letters.
constexpr std::array<slot, 4> slots = {{
    {'M', 0x1 | 0x10},  // overwritten
    {'A', 0x2 | 0x20},  // extended
    {'C', 0x4 | 0x40 | 0x200 | 0x400 | 0x800 | 0x1000 | 0x2000 | 0x4000 | 0x8000 | 0x10000 | 0x20000 | 0x40000 |
              0x80000 | 0x100000},  // truncated, deleted, renamed, any change beside the data
    {'B', 0x100 | 0x200000},        // the file or a stream created
}};

}  // namespace

macb_letters macb_text(std::uint32_t reason) {
    macb_letters letters = no_macb_letters;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        if ((reason & slots[i].reasons) != 0) letters[i] = slots[i].letter;
    }
    return letters;
}

slot_times slot_times_of(const journal_entry& entry) {
    const auto time_of = [&entry](const slot& of) { return (entry.reason & of.reasons) != 0 ? entry.timestamp : 0; };
    return {time_of(slots[0]), time_of(slots[1]), time_of(slots[2]), time_of(slots[3])};
}

void slot_descriptions(std::uint32_t reason, std::string& out) {
    reason_group_texts texts;
    reason_groups(reason, texts);
    const macb_letters letters = macb_text(reason);
    out.clear();
    for (const auto& [letter, text] : {std::pair{letters[0], &texts.modify}, std::pair{letters[1], &texts.access},
                                       std::pair{letters[2], &texts.change}, std::pair{letters[3], &texts.birth}}) {
        if (letter == '.' || text->empty()) continue;
        if (!out.empty()) out += "; ";
        out += *text;
    }
}

}  // namespace uni
