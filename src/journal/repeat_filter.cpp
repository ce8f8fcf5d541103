#include "journal/repeat_filter.h"

#include "journal/journal_collection.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace {

// Of every field that the same records share.
std::uint32_t hash_of(const packed_record& record) {
    constexpr std::uint64_t factor = 0x9E3779B97F4A7C15U;
    std::uint64_t hash = record.name_units;
    const auto add = [&hash](std::uint64_t value) { hash = ((hash << 5U | hash >> 59U) ^ value) * factor; };
    add(record.file_ref);
    add(record.parent_ref);
    add(static_cast<std::uint64_t>(record.usn));
    add(std::uint64_t{record.reason} << 32U | record.source_info);
    add(std::uint64_t{record.security_id} << 32U | record.file_attributes);
    for (std::size_t i = 0; i < record.name_units; ++i) add(record.name()[i]);
    return static_cast<std::uint32_t>(hash >> 32U);
}

bool is_valid(const packed_record& record) { return (record.marks & record_marks::valid) != 0; }

}  // namespace

// 0 for the same record; any order of the others will do. Where a record was found is no field of it.
int repeat_filter::order(const packed_record& one, const packed_record& other) const {
    static_assert(std::has_unique_object_representations_v<record_fields>);
    if (const int fields = std::memcmp(&one.fields(), &other.fields(), sizeof(record_fields)); fields != 0) {
        return fields;
    }
    if (one.name_units != other.name_units) return one.name_units < other.name_units ? -1 : 1;
    const unsigned marks = one.marks & record_marks::of_the_record;
    const unsigned other_marks = other.marks & record_marks::of_the_record;
    if (marks != other_marks) return marks < other_marks ? -1 : 1;
    const int names = std::memcmp(one.name(), other.name(), one.name_units * sizeof(char16_t));
    if (names != 0 || (marks & record_marks::details) == 0) return names;
    return of_.details_.order(one.arrival(), other.arrival());
}

void repeat_filter::drop_repeats() {
    constexpr std::size_t few = 16;
    const std::size_t before = group_.size();
    if (before <= few) {
        compare_each();
    } else {
        compare_nominees();
    }
    std::erase(group_, nullptr);
    repeats_ += before - group_.size();
}

void repeat_filter::compare_each() {
    for (std::size_t i = 0; i < group_.size(); ++i) {
        if (group_[i] == nullptr || !is_valid(*group_[i])) continue;
        for (std::size_t k = i + 1; k < group_.size(); ++k) {
            if (group_[k] != nullptr && order(*group_[i], *group_[k]) == 0) drop(i, k);
        }
    }
}

// Those with one hash lie together afterwards, in them the same ones, in these the first to arrive in front.
void repeat_filter::compare_nominees() {
    nominees_.clear();
    for (std::size_t i = 0; i < group_.size(); ++i) {
        if (is_valid(*group_[i])) nominees_.push_back({hash_of(*group_[i]), static_cast<std::uint32_t>(i)});
    }
    std::ranges::sort(nominees_, [this](const nominee& a, const nominee& b) {
        if (a.hash != b.hash) return a.hash < b.hash;
        const int fields = order(*group_[a.place], *group_[b.place]);
        return fields != 0 ? fields < 0 : a.place < b.place;
    });
    same_.clear();
    for (std::size_t i = 0; i < nominees_.size();) {
        const nominee& first = nominees_[i];
        for (++i; i < nominees_.size() && nominees_[i].hash == first.hash; ++i) {
            if (order(*group_[first.place], *group_[nominees_[i].place]) != 0) break;
            same_.push_back({first.place, nominees_[i].place});
        }
    }
    std::ranges::sort(same_);
    for (const same_places& one : same_) drop(one.first, one.other);
}

void repeat_filter::drop(std::size_t first, std::size_t other) {
    repeats_of_.push_back({group_[first], group_[other]});
    group_[other] = nullptr;
}

void repeat_filter::fill_others(const packed_record* record, std::vector<found_elsewhere>& out) {
    out.clear();
    for (; next_repeat_ < repeats_of_.size() && repeats_of_[next_repeat_].first == record; ++next_repeat_) {
        const packed_record& other = *repeats_of_[next_repeat_].other;
        const found_elsewhere place{record_marks::origin_of(other.marks), of_.label_of(other.arrival())};
        if (out.empty() || out.back() != place) out.push_back(place);
    }
    // What was asked for gives its room to what comes.
    constexpr std::size_t worth_moving = 4096;
    if (next_repeat_ > worth_moving && next_repeat_ > repeats_of_.size() / 2) {
        repeats_of_.erase(repeats_of_.begin(), repeats_of_.begin() + static_cast<std::ptrdiff_t>(next_repeat_));
        next_repeat_ = 0;
    }
}
