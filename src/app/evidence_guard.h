// app/evidence_guard.h: keeps what the run writes (-out, -diags) away from what it reads. Made from the arguments as
// typed, before the options are taken, because -diags and -out are opened long before the main flow reads its source
// options.
#pragma once

#include "app/argument_list.h"

#include <string>
#include <string_view>
#include <vector>

class evidence_guard {
public:
    // Opens no more than what an image needs to name its other files. Sources are the exported $MFT of -mftfile and
    // whatever -file, -image, -partition and -vss name, all of them: the run will read only one, or none when it gives
    // up before, but each is somebody's evidence. Options take their values first, as in the run, so that "-out -image"
    // names a results file and no image.
    explicit evidence_guard(const argument_list& arguments);

    // Whether a path leads to one of the sources, by the file that it leads to and not by its name; so does every raw
    // device, which may hold one.
    [[nodiscard]] bool is_source(const std::string& native_path) const;

    // The files and device nodes that would be read.
    [[nodiscard]] const std::vector<std::string>& sources() const { return sources_; }

private:
    void add(const std::string& path);
    void add_values(std::string_view option, const argument_list& arguments);

    std::vector<std::string> sources_;
};
