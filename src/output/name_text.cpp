#include "output/name_text.h"

#include "base/text.h"
#include "base/utf.h"
#include "output/text_marks.h"

namespace uni {

std::string_view name_text::of(std::u16string_view name) {
    if (bytes_.size() < name.size()) bytes_.resize(name.size());
    const bool plain = guard_ != nullptr ? guard_->put_plain_name(name, bytes_.data())
                                         : put_plain_name(name, replaced_, bytes_.data());
    if (plain) return {bytes_.data(), name.size()};
    bytes_.clear();
    if (guard_ != nullptr) {
        guard_->append(name, bytes_);
        return bytes_;
    }
    append_utf8(name, bytes_);
    if (replaced_ != 0) replace_all(bytes_, replaced_, replacement_);
    return bytes_;
}

}  // namespace uni
