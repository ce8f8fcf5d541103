// output/name_text.h: file names as the timeline writers print them: in UTF-8, with the separator's character replaced,
// with -complete guarded.
#pragma once

#include "output/text_guard.h"

#include <string>
#include <string_view>

namespace uni {

class name_text {
public:
    // Nothing is replaced when `replaced` is 0. With a guard, which outlives this, names go through it instead.
    name_text(char replaced, char replacement, const text_guard* guard)
        : replaced_(replaced), replacement_(replacement), guard_(guard) {}

    // Holds until the next call.
    [[nodiscard]] std::string_view of(std::u16string_view name);

private:
    char replaced_;
    char replacement_;
    const text_guard* guard_;
    std::string bytes_;
    std::string guarded_;
};

}  // namespace uni
