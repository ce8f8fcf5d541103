#include "output/name_text.h"

#include "base/text.h"
#include "output/entry_text.h"
#include "output/text_marks.h"

namespace uni {

std::string_view name_text::of(std::u16string_view name) {
    if (bytes_.size() < name.size()) bytes_.resize(name.size());
    const bool plain = guard_ != nullptr ? guard_->put_plain_name(name, bytes_.data())
                                         : put_plain_name(name, replaced_, bytes_.data());
    if (plain) return {bytes_.data(), name.size()};
    bytes_.clear();
    append_name(name, guard_ != nullptr, bytes_);
    if (guard_ != nullptr) return guard_->guarded(bytes_, guarded_);
    if (replaced_ != 0) replace_all(bytes_, replaced_, replacement_);
    return bytes_;
}

}  // namespace uni
