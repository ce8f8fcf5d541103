#include "output/output_file.h"

#include "output/output_stream.h"

namespace uni {

output_file::output_file() = default;
output_file::~output_file() { close(); }

bool output_file::open(const std::string& path, bool binary, bool create_truncate) {
    if (path.empty() || memory_mode_) return false;
    close();
    forget_failure();
    if (platform::kind_of(path) == platform::path_kind::regular_file) platform::make_writable(path);
    return file_.open_for_writing(path, binary, create_truncate);
}

void output_file::use_standard_output() {
    close();
    forget_failure();
    memory_mode_ = false;
    file_.use_standard_output();
}

void output_file::open_memory() {
    close();
    forget_failure();
    memory_mode_ = true;
}

fileio_output* output_file::make_stream() {
    stream_.reset();
    if (is_usable()) stream_ = std::make_unique<fileio_output>(*this);
    return stream_.get();
}

bool output_file::write(const char* data, std::size_t count) {
    if (count == 0) return true;
    if (data == nullptr || failed_ || !is_usable()) return false;
    if (memory_mode_) {
        memory_.insert(memory_.end(), data, data + count);
        return true;
    }
    const platform::write_result result = file_.append({data, count});
    failed_ = result != platform::write_result::ok;
    reader_closed_ = result == platform::write_result::closed_pipe;
    return !failed_;
}

bool output_file::append(std::span<const char> bytes) { return !bytes.empty() && write(bytes.data(), bytes.size()); }

bool output_file::append_text(std::string_view text) { return write(text.data(), text.size()); }

std::int64_t output_file::size() const {
    return memory_mode_ ? static_cast<std::int64_t>(memory_.size()) : file_.size();
}

void output_file::close() {
    stream_.reset();
    if (!file_.close()) failed_ = true;
    memory_.clear();
}

void output_file::forget_failure() {
    failed_ = false;
    reader_closed_ = false;
}

}  // namespace uni
