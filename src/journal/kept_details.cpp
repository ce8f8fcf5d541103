#include "journal/kept_details.h"

#include <algorithm>
#include <span>
#include <tuple>

void kept_details::add(std::uint64_t arrival, const record_details& details) {
    details_.push_back({.arrival = arrival,
                        .file_ref_high = details.file_ref_high,
                        .parent_ref_high = details.parent_ref_high,
                        .first_extent = extents_.size(),
                        .extents = static_cast<std::uint32_t>(details.extents.size()),
                        .remaining_extents = details.remaining_extents,
                        .name_is_cut = details.name_is_cut});
    extents_.insert(extents_.end(), details.extents.begin(), details.extents.end());
}

const kept_details::details_of& kept_details::at(std::uint64_t arrival) const {
    return *std::ranges::lower_bound(details_, arrival, {}, &details_of::arrival);
}

void kept_details::fill(std::uint64_t arrival, record_details& out) const {
    const details_of& from = at(arrival);
    const auto extents = std::span(extents_).subspan(from.first_extent, from.extents);
    out.file_ref_high = from.file_ref_high;
    out.parent_ref_high = from.parent_ref_high;
    out.remaining_extents = from.remaining_extents;
    out.extents.assign(extents.begin(), extents.end());
    out.name_is_cut = from.name_is_cut;
}

int kept_details::order(std::uint64_t one, std::uint64_t other) const {
    const details_of& a = at(one);
    const details_of& b = at(other);
    const auto fields = [](const details_of& of) {
        return std::tuple(of.name_is_cut ? of.arrival + 1 : 0, of.file_ref_high, of.parent_ref_high,
                          of.remaining_extents);
    };
    if (fields(a) != fields(b)) return fields(a) < fields(b) ? -1 : 1;
    const auto first = std::span(extents_).subspan(a.first_extent, a.extents);
    const auto second = std::span(extents_).subspan(b.first_extent, b.extents);
    const auto extents =
        std::lexicographical_compare_three_way(first.begin(), first.end(), second.begin(), second.end());
    return extents == 0 ? 0 : extents < 0 ? -1 : 1;
}
