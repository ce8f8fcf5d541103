#include "journal/kept_details.h"

#include <algorithm>
#include <span>

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

bool kept_details::equal(std::uint64_t one, std::uint64_t other) const {
    const details_of& a = at(one);
    const details_of& b = at(other);
    return !a.name_is_cut && !b.name_is_cut && a.file_ref_high == b.file_ref_high &&
           a.parent_ref_high == b.parent_ref_high && a.remaining_extents == b.remaining_extents &&
           std::ranges::equal(std::span(extents_).subspan(a.first_extent, a.extents),
                              std::span(extents_).subspan(b.first_extent, b.extents));
}
