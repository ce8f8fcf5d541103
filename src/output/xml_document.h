// output/xml_document.h: -xml, the frame of the document around the records, which are xml_writer's.
#pragma once

#include "output/layouts.h"

#include <string>
#include <string_view>

namespace uni {

// Declaration, the run header as a comment (none when it is empty), the root element that names the source.
[[nodiscard]] std::string xml_beginning(const layout_settings& settings, const frame_facts& facts);

// A comment of one line.
[[nodiscard]] std::string xml_comment(std::string_view text);

inline constexpr std::string_view xml_end = "</logdata>\n";

}  // namespace uni
