// lorq-make-journal: writes a made-up change journal ($J stream) to a file. See usage below.
#include "bench/journal_maker.h"

#include <charconv>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view usage =
    "usage: lorq-make-journal [options] OUT\n"
    "  --records N      records to write (1000)\n"
    "  --seed N         the same seed gives the same bytes (1)\n"
    "  --mean-name N    mean length of a name in UTF-16 units, 1 to 120 (20)\n"
    "  --closed N       percent of the records that carry the close bit (50)\n"
    "  --versions LIST  record versions with their weights, as 2:90,3:8,4:2; no weight means 1 (2)\n"
    "  --sparse-lead N  bytes of the hole before the first record, in whole pages of 4096 (65536)\n"
    "  --damage N       pages in a thousand that are damaged (0)\n"
    "  --shuffle        time stamps in no order\n";

bool parse(std::string_view text, std::uint64_t most, std::uint64_t& out) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), out);
    return error == std::errc{} && end == text.data() + text.size() && out <= most;
}

bool parse(std::string_view text, std::uint64_t most, unsigned& out) {
    std::uint64_t wide = 0;
    if (!parse(text, most, wide)) return false;
    out = static_cast<unsigned>(wide);
    return true;
}

// "2:90,3:8,4:2", "2,3"
bool parse_versions(std::string_view text, std::array<unsigned, 3>& weights) {
    weights = {0, 0, 0};
    while (!text.empty()) {
        const std::string_view item = text.substr(0, text.find(','));
        text.remove_prefix(item.size() + (item.size() < text.size() ? 1 : 0));
        const std::size_t colon = item.find(':');
        unsigned version = 0;
        unsigned weight = 1;
        if (!parse(item.substr(0, colon), 4, version) || version < 2) return false;
        if (colon != std::string_view::npos && !parse(item.substr(colon + 1), 1'000'000, weight)) return false;
        weights[version - 2] = weight;
    }
    return weights[0] + weights[1] + weights[2] != 0;
}

bool take_option(std::string_view name, std::string_view value, journal_plan& plan) {
    if (name == "--records") return parse(value, std::uint64_t{1} << 40U, plan.records);
    if (name == "--seed") return parse(value, UINT64_MAX, plan.seed);
    if (name == "--mean-name") return parse(value, 120, plan.mean_name) && plan.mean_name != 0;
    if (name == "--closed") return parse(value, 100, plan.closed_percent);
    if (name == "--versions") return parse_versions(value, plan.weights);
    if (name == "--damage") return parse(value, 1000, plan.damaged_pages);
    if (name != "--sparse-lead") return false;
    return parse(value, std::uint64_t{1} << 50U, plan.sparse_lead) && plan.sparse_lead % journal_maker::page_size == 0;
}

bool parse_arguments(const std::vector<std::string>& arguments, journal_plan& plan, std::string& out) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--shuffle") {
            plan.shuffled = true;
        } else if (arguments[i].starts_with("--")) {
            if (i + 1 == arguments.size() || !take_option(arguments[i], arguments[i + 1], plan)) return false;
            ++i;
        } else if (out.empty()) {
            out = arguments[i];
        } else {
            return false;
        }
    }
    return !out.empty();
}

}  // namespace

int main(int argc, char** argv) {
    journal_plan plan;
    std::string path;
    if (!parse_arguments({argv + 1, argv + argc}, plan, path)) {
        (void)std::fputs(std::string(usage).c_str(), stderr);
        return 2;
    }
    std::vector<char> buffer(std::size_t{1} << 20U);
    std::ofstream out;
    out.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    out.open(path, std::ios::binary | std::ios::trunc);
    out.seekp(static_cast<std::streamoff>(plan.sparse_lead));  // what is passed over stays a hole

    journal_maker maker(plan);
    journal_maker::page page{};
    while (out && maker.next_page(page)) {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): a stream takes bytes as char
        out.write(reinterpret_cast<const char*>(page.data()), static_cast<std::streamsize>(page.size()));
    }
    out.close();
    if (!out) {
        (void)std::fprintf(stderr, "lorq-make-journal: %s cannot be written\n", path.c_str());
        return 1;
    }
    return 0;
}
