// output/null_stream.h: a stream that takes every character and keeps none, for running a writer without output.
#pragma once

#include <ostream>
#include <streambuf>

namespace uni {

class null_out_buf : public std::basic_streambuf<char> {
protected:
    int_type overflow(int_type c) override { return c; }
    std::streamsize xsputn(const char* /*data*/, std::streamsize count) override { return count; }
};

class null_out_stream : public std::basic_ostream<char> {
public:
    null_out_stream() : std::basic_ostream<char>(nullptr) { rdbuf(&buffer_); }

private:
    null_out_buf buffer_;
};

}  // namespace uni
