#include "ntfs/data_runs.h"

#include "base/work_budget.h"

#include <algorithm>

namespace {

constexpr std::size_t widest_field = 8;

// An unsigned number of `width` bytes, 0 to 8.
std::uint64_t number_at(byte_view bytes, std::size_t at, std::size_t width) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < width; ++i) {
        number |= std::uint64_t{bytes.value<std::uint8_t>(at + i)} << (8 * i);
    }
    return number;
}

// The sum with a delta taken from it is modulo 2^64, so the sign extension alone is enough.
std::uint64_t sign_extended(std::uint64_t number, std::size_t width) {
    if (width == 0 || width == widest_field) return number;
    const std::uint64_t sign = std::uint64_t{1} << (8 * width - 1);
    return (number ^ sign) - sign;
}

}  // namespace

std::vector<data_run> decode_runs(byte_view run_list, std::uint64_t first_vcn) {
    std::vector<data_run> runs;
    std::uint64_t vcn = first_vcn;
    std::uint64_t lcn = 0;
    std::uint8_t header = 0;
    for (std::size_t at = 0; run_list.get(at, header) && header != 0;) {
        const std::size_t length_width = header & 0x0FU;
        const std::size_t offset_width = header >> 4U;
        if (length_width > widest_field || offset_width > widest_field) break;
        if (!run_list.fits(at, 1 + length_width + offset_width)) break;
        const std::uint64_t length = number_at(run_list, at + 1, length_width);
        const std::uint64_t delta = number_at(run_list, at + 1 + length_width, offset_width);
        if (length > ~vcn) break;
        lcn += sign_extended(delta, offset_width);
        runs.push_back({lcn, vcn, length, offset_width != 0, delta != 0});
        vcn += length;
        at += 1 + length_width + offset_width;
    }
    return runs;
}

void make_extents(std::span<const data_run> runs, extent_list& extents) {
    for (const data_run& run : runs) {
        const bool first_of_stream = &run == runs.data() && run.vcn == 0;
        const bool sparse = !run.moves && !(first_of_stream && run.has_offset_field);
        if (run.length == 0) continue;
        if (sparse && !extents.empty() && extents.back().sparse && extents.back().end_vcn() == run.vcn) {
            extents.back().length += run.length;
        } else {
            extents.push_back({sparse ? 0 : run.lcn, run.vcn, run.length, sparse});
        }
    }
}

void put_in_vcn_order(extent_list& extents) {
    std::ranges::stable_sort(extents, {}, &extent::vcn);
    std::uint64_t end = 0;
    std::size_t kept = 0;
    for (extent next : extents) {
        if (next.end_vcn() <= end) continue;
        if (next.vcn < end) {
            const std::uint64_t taken = end - next.vcn;
            if (!next.sparse) next.lcn += taken;
            next.vcn += taken;
            next.length -= taken;
        }
        end = next.end_vcn();
        extents[kept++] = next;
    }
    extents.resize(kept);
}

void limit_claims(extent_list& extents, std::uint64_t source_clusters) {
    work_budget left(readings::stream, source_clusters);
    std::erase_if(extents, [&](const extent& part) {
        if (part.sparse) return false;
        // One behind the source costs nothing to read, but it has to be kept in mind.
        const std::uint64_t held =
            part.lcn < source_clusters ? std::min(part.length, source_clusters - part.lcn) : std::uint64_t{1};
        return !left.take(held);
    });
}

std::size_t extent_at_or_behind(std::span<const extent> extents, std::uint64_t vcn) {
    const auto found = std::ranges::upper_bound(extents, vcn, {}, &extent::end_vcn);
    return static_cast<std::size_t>(found - extents.begin());
}

bool find_extent(std::span<const extent> extents, std::uint64_t vcn, std::size_t& index) {
    const std::size_t found = extent_at_or_behind(extents, vcn);
    if (found == extents.size() || extents[found].vcn > vcn) return false;
    index = found;
    return true;
}

std::uint64_t end_of(std::span<const extent> extents) { return extents.empty() ? 0 : extents.back().end_vcn(); }
