#include "output/output_file.h"

#include "output/output_stream.h"

namespace uni {

output_file::output_file() = default;
output_file::~output_file() { close(); }

bool output_file::open(const std::string& path, bool binary, bool create_truncate) {
    if (path.empty()) return false;
    close();
    forget_failure();
    if (platform::kind_of(path) == platform::path_kind::regular_file) platform::make_writable(path);
    return file_.open_for_writing(path, binary, create_truncate);
}

void output_file::use_standard_output(bool binary) {
    close();
    forget_failure();
    file_.use_standard_output(binary);
}

fileio_output* output_file::make_stream() {
    stream_.reset();
    if (is_usable()) stream_ = std::make_unique<fileio_output>(*this);
    return stream_.get();
}

bool output_file::write(const char* data, std::size_t count) {
    if (count == 0) return true;
    if (data == nullptr || failed_ || !is_usable()) return false;
    const platform::write_result result = file_.append({data, count});
    failed_ = result != platform::write_result::ok;
    reader_closed_ = result == platform::write_result::closed_pipe;
    return !failed_;
}

bool output_file::append_text(std::string_view text) { return write(text.data(), text.size()); }

void output_file::close() {
    stream_.reset();
    if (!file_.close()) failed_ = true;
}

void output_file::forget_failure() {
    failed_ = false;
    reader_closed_ = false;
}

}  // namespace uni
