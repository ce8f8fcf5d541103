#include "output/output_stream.h"

#include "output/output_file.h"

namespace uni {

template class streambuf_generic_output<char>;

std::ptrdiff_t fileio_ostream::write_bytes(const char* data, std::size_t count) {
    return file_.write(data, count) ? static_cast<std::ptrdiff_t>(count) : -1;
}

fileio_output::fileio_output(output_file& file) : std::basic_ostream<char>(nullptr), buffer_(file) {
    if (file.is_usable()) rdbuf(&buffer_);  // also makes the stream good
}

}  // namespace uni
