// base/byte_view.h: bytes taken from evidence. Nothing outside a view can be read through it.
// A view does not own its bytes; whoever made the buffer keeps it alive. All numbers are little-endian, at any
// alignment.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

class byte_view {
public:
    byte_view() = default;

    // image_offset: where byte 0 stands in the source, for reports. It is carried along, never used to find bytes.
    explicit byte_view(std::span<const std::uint8_t> bytes, std::uint64_t image_offset = 0)
        : bytes_(bytes), image_offset_(image_offset) {}

    [[nodiscard]] std::size_t size() const { return bytes_.size(); }
    [[nodiscard]] std::uint64_t image_offset() const { return image_offset_; }
    [[nodiscard]] std::span<const std::uint8_t> bytes() const { return bytes_; }

    // False, and `out` untouched, when the number does not lie wholly inside the view.
    template <std::unsigned_integral T>
    [[nodiscard]] bool get(std::size_t at, T& out) const {
        static_assert(std::endian::native == std::endian::little, "numbers are copied as they lie");
        if (!fits(at, sizeof(T))) return false;
        std::memcpy(&out, bytes_.data() + at, sizeof(T));
        return true;
    }

    // The number at `at`, or 0 when it does not lie wholly inside: for callers that have checked the size before.
    template <std::unsigned_integral T>
    [[nodiscard]] T value(std::size_t at) const {
        T out = 0;
        (void)get(at, out);
        return out;
    }

    // A narrower view; false, and `out` untouched, when it would reach past this one.
    [[nodiscard]] bool sub(std::size_t at, std::size_t length, byte_view& out) const {
        if (!fits(at, length)) return false;
        out = byte_view(bytes_.subspan(at, length), image_offset_ + at);
        return true;
    }

    // What lies from `at` on; empty when `at` is past the end.
    [[nodiscard]] byte_view from(std::size_t at) const {
        return at <= bytes_.size() ? byte_view(bytes_.subspan(at), image_offset_ + at) : byte_view{};
    }

    [[nodiscard]] bool fits(std::size_t at, std::size_t length) const {
        return at <= bytes_.size() && length <= bytes_.size() - at;  // a sum could wrap
    }

private:
    std::span<const std::uint8_t> bytes_;
    std::uint64_t image_offset_ = 0;
};

// The bytes of a text of our own, which are those that UTF-16 has on a volume.
[[nodiscard]] inline byte_view view_of(std::u16string_view text) {
    const auto* const first = reinterpret_cast<const std::uint8_t*>(text.data());  // NOLINT(*-reinterpret-cast)
    return byte_view({first, text.size() * sizeof(char16_t)});
}
