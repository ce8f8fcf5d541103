#include "app/run_header.h"

#include "app/time_options.h"
#include "app/usage.h"
#include "base/text.h"
#include "output/date_time.h"
#include "platform/platform.h"

namespace {

// The date in the user's form when that is a usable one.
std::string now_text(const argument_list& arguments, std::uint64_t now_filetime) {
    std::string pattern;
    if (!peek_value("-dateformat", pattern, arguments) || !is_date_format(pattern)) pattern = "mm/dd/yyyy";

    std::uint32_t flags = 0;
    uni::date_time_parts now;
    std::string date;
    std::string time;
    if (!uni::parse_time_formats(flags, lower_case(pattern), "hh:mm:ss", false) ||
        !uni::set_filetime(now, now_filetime) || !uni::format_date_time(date, time, now, flags)) {
        return "unknown";
    }
    return date + " " + time;
}

}  // namespace

std::string compose_run_header(const argument_list& arguments, std::uint64_t now_filetime) {
    std::string header = banner() + "\n";
    header += "run time: " + now_text(arguments, now_filetime) + "; " + platform::computer_name() + "; " +
              platform::user_name() + "; " + platform::system_description() + "\n";
    header += "\"cmdline: ";
    if (peek_flag("-pipe", arguments)) header += "<filelist> ... | ";
    header += join_arguments(arguments, '\'') + "\"\n";
    return header;
}
