// output/output_file.h: a file that output is appended to: the results file, standard output, the verbose log. The
// run's main flow owns it and asks it at the end whether everything arrived.
#pragma once

#include "platform/platform.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace uni {

class fileio_output;

class output_file {
public:
    output_file();
    ~output_file();
    output_file(const output_file&) = delete;
    output_file& operator=(const output_file&) = delete;

    // Opens `path` as it stands (UTF-8); a read-only file left by an earlier run is made writable first. `binary`
    // false: line feeds become carriage return and line feed. False for an empty path.
    [[nodiscard]] bool open(const std::string& path, bool binary, bool create_truncate);

    // Standard output in the mode the system gave it, or with line feeds as they are when it is `binary`; `close`
    // flushes but leaves it open.
    void use_standard_output(bool binary = false);

    [[nodiscard]] bool is_usable() const { return file_.is_open(); }

    // The buffered stream over this file, owned by it; null when the file is not usable.
    fileio_output* make_stream();
    [[nodiscard]] fileio_output* stream() const { return stream_.get(); }

    // All of these append at the end. After the first failure nothing is written any more and every call fails.
    [[nodiscard]] bool write(const char* data, std::size_t count);
    [[nodiscard]] bool append_text(std::string_view text);

    // The mark of a failed write. It is the file's, not the stream's: clearing a stream's state does not take it away,
    // and it outlives `close`, so that the last flush counts too. The next open clears it.
    [[nodiscard]] bool failed() const { return failed_; }
    [[nodiscard]] bool reader_closed() const { return reader_closed_; }  // it failed because nobody reads the pipe

    // Flushes and destroys the stream, then closes.
    void close();

private:
    void forget_failure();

    platform::file file_;
    bool failed_ = false;
    bool reader_closed_ = false;
    std::unique_ptr<fileio_output> stream_;
};

}  // namespace uni
