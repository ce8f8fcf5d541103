#include "output/name_text.h"

#include "base/text.h"
#include "base/utf.h"
#include "output/text_marks.h"

namespace uni {

std::string_view name_text::of(std::u16string_view name) {
    if (bytes_.size() < name.size()) bytes_.resize(name.size());
    if (put_plain_name(name, replaced_, bytes_.data())) return {bytes_.data(), name.size()};
    bytes_.clear();
    append_utf8(name, bytes_);
    if (replaced_ != 0) replace_all(bytes_, replaced_, replacement_);
    return bytes_;
}

}  // namespace uni
