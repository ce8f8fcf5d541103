#include "storage/containers/medium.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>
#include <map>
#include <vector>

namespace {

constexpr std::size_t cache_size = std::size_t{8} << 20U;  // bytes
constexpr std::size_t fewest_chunks = 4;

class container_source final : public byte_source {
public:
    container_source(std::unique_ptr<medium> from, std::unique_ptr<allocation> tables)
        : medium_(std::move(from)),
          tables_(std::move(tables)),
          chunk_size_(medium_->chunk_size()),
          chunks_(std::max(cache_size / chunk_size_, fewest_chunks)) {}

    [[nodiscard]] std::uint64_t size() const override { return medium_->size(); }
    [[nodiscard]] std::uint32_t alignment() const override { return 1; }

    [[nodiscard]] bool read_at(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got) override {
        got = 0;
        if (offset >= size()) return true;
        into = into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), size() - offset)));
        while (got < into.size()) {
            const std::uint64_t at = offset + got;
            const auto lead = static_cast<std::size_t>(at % chunk_size_);
            const auto part = into.subspan(got).first(std::min(chunk_size_ - lead, into.size() - got));
            if (!read_in_chunk(at - lead, lead, part)) return false;
            got += part.size();
        }
        return true;
    }

    [[nodiscard]] bool next_data(std::uint64_t offset, std::uint64_t& begin, std::uint64_t& end) const override {
        while (tables_ != nullptr && offset < size()) {
            const stretch next = tables_->at(offset);
            if (next.state != block_state::hole) break;
            offset = next.end;
        }
        begin = offset;
        if (begin >= size()) return false;
        end = size();
        if (tables_ == nullptr) return true;
        for (std::uint64_t at = begin; at < size() && at - begin < longest_stretch;) {
            const stretch next = tables_->at(at);
            if (next.state == block_state::hole) break;
            end = at = next.end;
        }
        end = std::min(end, size());
        return true;
    }

private:
    // Whoever asks for more asks again: what lies far ahead is not looked up before it is read.
    static constexpr std::uint64_t longest_stretch = std::uint64_t{1} << 30U;

    struct chunk {
        std::uint64_t begin = std::numeric_limits<std::uint64_t>::max();
        std::uint64_t used = 0;
        std::vector<std::uint8_t> bytes;
    };

    [[nodiscard]] std::size_t length_of(std::uint64_t begin) const {
        return static_cast<std::size_t>(std::min<std::uint64_t>(chunk_size_, size() - begin));
    }

    [[nodiscard]] bool read_in_chunk(std::uint64_t begin, std::size_t lead, std::span<std::uint8_t> into) {
        const auto kept = std::ranges::find(chunks_, begin, &chunk::begin);
        if (kept == chunks_.end()) {
            if (is_lost(begin)) return false;
            if (into.size() == length_of(begin)) {
                const bool read = fill(begin, into);
                if (!read) lose(begin);
                return read;
            }
        }
        chunk& one = kept != chunks_.end() ? *kept : take_in(begin);
        one.used = ++clock_;
        if (is_lost(begin)) return false;
        std::memcpy(into.data(), one.bytes.data() + lead, into.size());
        return true;
    }

    chunk& take_in(std::uint64_t begin) {
        chunk& oldest = *std::ranges::min_element(chunks_, {}, &chunk::used);
        oldest.begin = begin;
        oldest.bytes.resize(length_of(begin));
        if (!fill(begin, oldest.bytes)) lose(begin);
        return oldest;
    }

    // What could not be read once is not asked for again: of a block that it read in part a library may have kept that
    // part, and give it as a success.
    [[nodiscard]] bool is_lost(std::uint64_t begin) const {
        const auto behind = lost_.upper_bound(begin);
        return behind != lost_.begin() && begin < std::prev(behind)->second;
    }
    void lose(std::uint64_t begin) {
        const auto behind = lost_.upper_bound(begin);
        if (behind != lost_.begin() && std::prev(behind)->second == begin) {
            std::prev(behind)->second = begin + chunk_size_;
        } else {
            lost_.emplace(begin, begin + chunk_size_);
        }
    }

    [[nodiscard]] bool fill(std::uint64_t offset, std::span<std::uint8_t> into) {
        while (!into.empty()) {
            const stretch next = tables_ != nullptr ? tables_->at(offset) : stretch{.end = offset + into.size()};
            const auto part =
                into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), next.end - offset)));
            if (next.state == block_state::hole) {
                std::ranges::fill(part, std::uint8_t{0});
            } else if (next.state == block_state::lost || !medium_->read(offset, part, next.level) ||
                       (tables_ != nullptr && !tables_->agrees(offset, part))) {
                return false;
            }
            offset += part.size();
            into = into.subspan(part.size());
        }
        return true;
    }

    std::unique_ptr<medium> medium_;
    std::unique_ptr<allocation> tables_;
    std::size_t chunk_size_;
    std::vector<chunk> chunks_;
    std::map<std::uint64_t, std::uint64_t> lost_;  // beginnings and ends of runs of chunks
    std::uint64_t clock_ = 0;
};

}  // namespace

std::unique_ptr<byte_source> make_container_source(std::unique_ptr<medium> from, std::unique_ptr<allocation> tables) {
    return std::make_unique<container_source>(std::move(from), std::move(tables));
}
