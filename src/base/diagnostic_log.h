// base/diagnostic_log.h: the verbose log of -diags as every room sees it: lines go in, where they go to is app's
// business.
#pragma once

#include <functional>
#include <string_view>
#include <utility>

class diagnostic_log {
public:
    using sink = std::function<void(std::string_view)>;

    // Until a sink is given the log is off and lines are dropped. The sink gets a line without its end.
    void open(sink to) { sink_ = std::move(to); }
    [[nodiscard]] bool enabled() const { return static_cast<bool>(sink_); }
    void line(std::string_view text) const {
        if (sink_) sink_(text);
    }

private:
    sink sink_;
};
