// app/option_table.h: every option of the program in the order in which it is taken, whatever the order on the command
// line. The order decides who gets an argument that two options could take. What an option does beyond the settings
// goes through option_effects, so that the evidence guard can go through the same table and touch nothing.
#pragma once

#include "app/argument_list.h"
#include "app/usnjrnl_context.h"

#include <optional>
#include <string>
#include <string_view>

class option_effects {
public:
    virtual ~option_effects() = default;

    // -diags: opens the diagnostic log. Answering true makes -l2 or -l3 be taken.
    [[nodiscard]] virtual bool open_log(const std::string& path) = 0;

    // -out, -report: whether the file could be created. After a first false the question is put again for -out when
    // -append is there to be taken.
    [[nodiscard]] virtual bool can_create_results(const std::string& stored_path) = 0;

    // -report: whether two files that can be created are two. Both by their stored paths.
    [[nodiscard]] virtual bool are_apart(const std::string& /*one*/, const std::string& /*other*/) { return true; }

    // A line for standard error.
    virtual void say(std::string_view text) = 0;

    // Whether a malformed option ends the taking.
    [[nodiscard]] virtual bool stops_at_failure() const = 0;

    // An option was taken, by the spelling and with the value that stood among the arguments.
    virtual void took(std::string_view /*option*/, const std::string& /*value*/) {}
};

// To go through the table and see what it comes to: as if the log opened and the results could be created, without a
// word, and to the end.
class silent_effects : public option_effects {
public:
    bool open_log(const std::string& /*path*/) override { return true; }
    bool can_create_results(const std::string& /*stored_path*/) override { return true; }
    void say(std::string_view /*text*/) override {}
    [[nodiscard]] bool stops_at_failure() const override { return false; }
};

struct option_traits {
    bool takes_value = false;
    bool has_effect = true;
};

// Of an option of the table, by its name in any case; none for what stays in the list.
[[nodiscard]] std::optional<option_traits> traits_of(std::string_view name);

// Takes all options from the list into settings that were just reset. The source options stay in the list (-partition,
// -vss, -file, -image, -offset, -ignore_image_size), and so does what no option takes. False when the effects stop at
// failures and an option was malformed.
[[nodiscard]] bool take_options(argument_list& arguments, usnjrnl_context& settings, option_effects& effects);
