#include "app/usage.h"

#include "base/program.h"
#include "base/text.h"
#include "output/status_line.h"
#include "platform/platform.h"

#include <algorithm>

namespace {

// One line is indented less than the others and one ends in a blank.
constexpr std::string_view text_below_banner = R"(usage:

 lorq -image <dd image> [-offset <offset>]
 lorq -file <path/file>        = parse extracted USNJRNL
 lorq -partition <drv letter>  = parse USNJRNL on live system
 lorq -vss <num>               = Volume Shadow index is the source

 Basic options
   -csv                      = output is comma separated value format
   -xml                      = output in xml format
   -bodyfile                 = output in sleuth kit body-file format
   -csvl2t                   = output in log2timeline format

 Additional options
   -a                        = all records, not just those closed
   -base10                   = output numbers in base10 vice std::hex
   -mftfile <$mft file>      = use exported $mft file to resolve path )"
                                               R"(
   -show_dir_path            = resolve dir path $mft in image or vol
   -pulltimes                = use with -show_dir_path or -mftfile
  -dateformat mm/dd/yyyy     = "yyyy-mm-dd" is the default
   -timeformat hh:mm:ss      = "hh:mm:ss.xxx" is the default
   -pair_datetime            = combine date/time into 1 field for csv
   -no_whitespace            = not available for xml option
   -csv_separator "|"        = use a pipe character for csv separator

 Experimental options
   -include_unalloc_clusters = include unalloc clusters in rawscan
   -include_vss_clusters     = include VSS clusters in rawscan
   -include_slack_space      = include slack space
   -show_offset              = include offset of record in output

)";

bool asks_for_help(const std::string& argument) {
    constexpr std::string_view spellings[] = {"-h", "-help", "/?", "--help"};
    return std::ranges::any_of(spellings, [&](std::string_view name) { return equal_ignoring_case(argument, name); });
}

}  // namespace

std::string banner() { return std::string(program_name).append(" ").append(version_text); }

bool help_wanted(const argument_list& arguments) {
    return arguments.size() <= 1 || std::ranges::any_of(arguments, asks_for_help);
}

bool help_is_the_output(const argument_list& arguments) {
    return arguments.size() == 2 && help_wanted(arguments) && platform::is_terminal(platform::standard_stream::error) &&
           !platform::is_terminal(platform::standard_stream::output);
}

bool version_wanted(const argument_list& arguments) { return peek_flag("-version", arguments); }

std::string usage_text() { return banner().append("\n\n").append(text_below_banner); }

void print_usage(uni::status_line& status) { status.say(usage_text()); }
