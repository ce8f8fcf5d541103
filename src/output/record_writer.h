// output/record_writer.h: the output phase: every record of the journal collection, in order, through the writer that
// the settings choose. Called once by the run driver.
#pragma once

#include "app/usnjrnl_context.h"
#include "output/status_line.h"

#include <iosfwd>

namespace uni {

// True when the stream took every byte; what it still buffers is flushed by its owner. Stops early when it did not. The
// status line is cleared at the end, unless progress is off.
[[nodiscard]] bool write_records(std::ostream& out, usnjrnl_context& settings, status_line& status);

}  // namespace uni
