#include "storage/salvage.h"

#include <algorithm>

namespace {

constexpr std::uint64_t longest_piece = std::uint64_t{1} << 20U;

}  // namespace

bool read_around_damage(disk_reader& source, std::uint64_t offset, std::span<std::uint8_t> into,
                        const salvage_rule& rule, loss_list& losses) {
    std::size_t got = 0;
    const bool failed = !source.read_at(offset, into, got);
    if (got == into.size()) return true;
    if (!failed) {  // the source ends here
        losses.push_back({got, into.size()});
        return false;
    }
    // The units before the bad one are there.
    for (std::uint64_t at = got / rule.unit * rule.unit; at < into.size(); at += rule.unit) {
        const auto unit =
            into.subspan(static_cast<std::size_t>(at), std::min<std::uint64_t>(rule.unit, into.size() - at));
        // The whole range was asked for already.
        const bool read = unit.size() != into.size() && source.read_at(offset + at, unit, got);
        if (!read && !rule.keep_beginning) got = 0;
        if (got == unit.size()) continue;
        const std::size_t begin = static_cast<std::size_t>(at) + got;
        losses.push_back({begin, rule.stop_at_loss ? into.size() : static_cast<std::size_t>(at) + unit.size()});
        if (rule.stop_at_loss) break;
    }
    return false;
}

std::size_t readable_up_to(std::span<const loss> losses, std::size_t at, std::size_t end) {
    const auto next = std::ranges::upper_bound(losses, at, {}, &loss::end);
    return next == losses.end() ? end : std::clamp(next->begin, at, end);
}

void read_pieces(disk_reader& source, std::uint64_t begin, std::uint64_t end, const salvage_rule& rule,
                 const piece_sink& sink) {
    std::vector<std::uint8_t> buffer(static_cast<std::size_t>(
        std::min(std::max<std::uint64_t>(longest_piece / rule.unit, 1) * rule.unit, end - std::min(begin, end))));
    loss_list losses;
    std::uint64_t data = 0;
    std::uint64_t hole = 0;
    for (std::uint64_t at = begin; at < end && source.next_data(at, data, hole);) {
        at = std::max(at, begin + (data - begin) / rule.unit * rule.unit);
        const std::uint64_t units = (std::min(hole, end) - begin + rule.unit - 1) / rule.unit;
        for (const std::uint64_t stop = std::min(begin + units * rule.unit, end); at < stop;) {
            const auto piece =
                std::span(buffer).first(static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), stop - at)));
            losses.clear();
            (void)read_around_damage(source, at, piece, rule, losses);
            if (!sink(at, piece, losses)) return;
            at += piece.size();
        }
    }
}
