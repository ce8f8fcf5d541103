#include "journal/account.h"

#include <string_view>

namespace {

constexpr std::array<std::string_view, static_cast<std::size_t>(record_fate::count)> fate_texts = {
    " written",    " counted on the page", " again elsewhere",      " outside",  " not closed",
    " close only", " of version 4",        " without a valid time", " not sound"};

}  // namespace

std::string account_text(const record_account& account) {
    std::string text = "read " + std::to_string(account.read) + " records";
    std::string_view before = ": ";
    const auto add = [&](std::uint64_t number, std::string_view what, std::string_view next) {
        if (number == 0) return;
        text.append(before).append(std::to_string(number)).append(what);
        before = next;
    };
    for (std::size_t i = 0; i < fate_texts.size(); ++i) add(account.records[i], fate_texts[i], ", ");
    before = "; ";
    add(account.no_record_bytes, " bytes were no records", ", ");
    add(account.unreadable_bytes, " bytes unreadable", ", ");
    return text;
}
