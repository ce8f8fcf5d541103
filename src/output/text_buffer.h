// output/text_buffer.h: the growing block of text that every writer appends to, and the small pieces that lines are
// made of. A line has some forty pieces of a few bytes. So a writer asks for room once, keeps the place of the next
// byte in a pointer of its own, and says at the end where the text stops; `append` does all of that for a single piece.
#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace uni {

class text_buffer {
public:
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] const char* data() const { return bytes_.get(); }
    [[nodiscard]] std::string_view view() const { return {bytes_.get(), size_}; }
    void clear() { size_ = 0; }

    // Where `count` more bytes may be put, and `slack` more that a piece may spoil. Holds until the next call.
    [[nodiscard]] char* room(std::size_t count) { return room(bytes_.get() + size_, count); }

    // The same in the middle of a line: all before `at` is kept. The result takes the place of `at`.
    [[nodiscard]] char* room(char* at, std::size_t count) {
        if (count + slack <= static_cast<std::size_t>(bytes_.get() + capacity_ - at)) return at;
        end_at(at);
        grow(count + slack);
        return bytes_.get() + size_;
    }

    void end_at(const char* end) {
        assert(bytes_.get() <= end && end <= bytes_.get() + capacity_);
        size_ = static_cast<std::size_t>(end - bytes_.get());
    }

    void append(std::string_view text);

    static constexpr std::size_t slack = 32;

private:
    void grow(std::size_t count) {
        const std::size_t capacity = std::max(size_ + count, 2 * capacity_ + 1024);
        auto bytes = std::make_unique_for_overwrite<char[]>(capacity);
        if (size_ != 0) std::memcpy(bytes.get(), bytes_.get(), size_);
        bytes_ = std::move(bytes);
        capacity_ = capacity;
    }

    std::unique_ptr<char[]> bytes_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

// Pieces, each put at `to`; the result is the place behind it.
inline char* put_text(char* to, std::string_view text) {
    if (!text.empty()) std::memcpy(to, text.data(), text.size());
    return to + text.size();
}

// In steps of fixed size, which become plain stores; what they write too much is inside the slack.
inline char* put_blanks(char* to, std::size_t count) {
    for (std::size_t done = 0; done < count; done += text_buffer::slack)
        std::memset(to + done, ' ', text_buffer::slack);
    return to + count;
}

// What stands at `from` in the same buffer, in steps as well.
inline char* put_again(char* to, const char* from, std::size_t count) {
    std::array<char, text_buffer::slack / 2> piece{};
    for (std::size_t done = 0; done < count; done += piece.size()) {
        std::memcpy(piece.data(), from + done, piece.size());
        std::memcpy(to + done, piece.data(), piece.size());
    }
    return to + count;
}

inline void text_buffer::append(std::string_view text) { end_at(put_text(room(text.size()), text)); }

}  // namespace uni
