// output/name_text.h: file names as the timeline writers print them: in UTF-8, with the separator's character replaced.
#pragma once

#include <string>
#include <string_view>

namespace uni {

class name_text {
public:
    // Nothing is replaced when `replaced` is 0.
    name_text(char replaced, char replacement) : replaced_(replaced), replacement_(replacement) {}

    // Holds until the next call.
    [[nodiscard]] std::string_view of(std::u16string_view name);

private:
    char replaced_;
    char replacement_;
    std::string bytes_;
};

}  // namespace uni
