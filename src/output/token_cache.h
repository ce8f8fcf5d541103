// output/token_cache.h: the texts of flag words. A journal uses a few dozen combinations over and over, so each text is
// made once and found again by its value; two values that share a place take turns.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace uni {

class token_cache {
public:
    using text_maker = void (*)(std::uint32_t flags, std::string& out);  // replaces `out`

    explicit token_cache(text_maker make) : make_(make) {}

    // Holds until the next call.
    [[nodiscard]] std::string_view text_of(std::uint32_t flags) {
        place& at = places_[(flags * 0x9E3779B1U) >> 24U];
        if (!at.filled || at.flags != flags) {
            make_(flags, at.text);
            at.flags = flags;
            at.filled = true;
        }
        return at.text;
    }

private:
    struct place {
        std::uint32_t flags = 0;
        bool filled = false;
        std::string text;
    };

    text_maker make_;
    std::array<place, 256> places_;
};

}  // namespace uni
