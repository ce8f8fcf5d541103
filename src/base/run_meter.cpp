#include "base/run_meter.h"

#include "base/format_text.h"

#include <utility>

void run_meter::measure() {
    measuring_ = true;
    since_ = clock::now();
}

phase run_meter::change_to(phase next) {
    const clock::time_point now = clock::now();
    tallies_[static_cast<std::size_t>(phase_)].time += now - std::exchange(since_, now);
    return std::exchange(phase_, next);
}

void run_meter::count(phase in, std::uint64_t records, std::uint64_t bytes) {
    tally& of = tallies_[static_cast<std::size_t>(in)];
    of.records += records;
    of.bytes += bytes;
}

std::vector<std::string> run_meter::lines() const {
    constexpr std::array names = {"read", "decode", "carve", "resolve", "order", "write", "history", "report"};
    std::vector<std::string> lines;
    for (std::size_t i = 0; measuring_ && i < names.size(); ++i) {
        const tally& of = tallies_[i];
        if (i >= static_cast<std::size_t>(phase::history) && of.records == 0 && of.bytes == 0) continue;
        lines.push_back(format_text(
            "%s: %g secs, %llu records, %llu bytes", names[i], std::chrono::duration<double>(of.time).count(),
            static_cast<unsigned long long>(of.records), static_cast<unsigned long long>(of.bytes)));
    }
    return lines;
}
