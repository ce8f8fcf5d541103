// output/xml_document.h: -xml, the frame of the document: declaration, the run header as a comment, the root element
// that names the source. The main flow writes a whole run through it; the records between the tags are xml_writer's.
#pragma once

#include "app/usnjrnl_context.h"

#include <functional>
#include <iosfwd>
#include <string_view>

namespace uni {

// False, and nothing written, when the settings name no journal. Otherwise the frame is written around `run`, which
// reads the source and writes the records; the end tag also stands behind a run without any. The result is that of
// `run`, or false when `out` did not take the frame. Without a run header there is no comment.
[[nodiscard]] bool write_xml_document(std::ostream& out, const usnjrnl_context& settings, std::string_view run_header,
                                      const std::function<bool()>& run);

}  // namespace uni
