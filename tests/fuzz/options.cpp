// A command line, one argument a line: options, the evidence guard, and a record written under what they come to.
#include "fuzz_support.h"

#include "app/argument_hints.h"
#include "app/evidence_guard.h"
#include "app/usage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    argument_list arguments{"lorq", ""};
    for (const std::uint8_t byte : std::span(data, size)) {
        if (byte == '\n') {
            arguments.emplace_back();
        } else if (byte != 0) {
            arguments.back() += static_cast<char>(byte);
        }
    }
    (void)help_wanted(arguments);
    (void)join_arguments(arguments, '\'');
    for (const std::string& argument : arguments) (void)parse_number(argument);
    (void)evidence_guard(arguments).sources();
    (void)argument_hints(arguments);
    static run_meter meter;
    static journal_intake intake(meter);
    if (intake.records().size() == 0) {
        journal_entry entry;
        entry.fields() = {.file_ref = 40, .parent_ref = 5, .timestamp = 133'486'724'967'891'234, .reason = 0x80000100};
        entry.valid = 1;
        entry.name = u"a|b,c\r\n<\u4E2D>";
        intake.records().add(entry);
    }
    write_all(settings_from(arguments), intake);
    return 0;
}
