// output/json_tokens.h: the parts of a line of JSON that depend on a flag word alone, each with the keys and marks
// around it, as makers for a token_cache.
#pragma once

#include <cstdint>
#include <string>

namespace uni {

// The reasons as the table has them: `: file_created; file_closed`.
void json_message_end(std::uint32_t reason, std::string& out);

// `timestamp_desc`, of all that a record tells the one that an examiner looks for first.
void json_description(std::uint32_t reason, std::string& out);

// `update_reason` and `update_reason_flags`: the published names of the set bits, a bit without one in hexadecimal.
void json_reason(std::uint32_t reason, std::string& out);

// `file_attribute_flags` and `file_attributes`, likewise.
void json_attributes(std::uint32_t attributes, std::string& out);

}  // namespace uni
