// output/output_stream.h: the buffered character stream over an output_file. Writers see a std::ostream and nothing
// else.
#pragma once

#include <cstddef>
#include <new>
#include <ostream>
#include <streambuf>
#include <vector>

namespace uni {

class output_file;

// Collects characters in blocks of 262,144 bytes and hands each to `write_bytes`. One byte is kept back from the put
// area for the character that `overflow` brings.
template <typename CharT>
class streambuf_generic_output : public std::basic_streambuf<CharT> {
    using base = std::basic_streambuf<CharT>;
    using traits = typename base::traits_type;

public:
    using int_type = typename base::int_type;
    static constexpr std::size_t buffer_size = 0x40000;

    streambuf_generic_output();
    ~streambuf_generic_output() override = default;  // write_bytes is gone by now: the class that has it flushes
    streambuf_generic_output(const streambuf_generic_output&) = delete;
    streambuf_generic_output& operator=(const streambuf_generic_output&) = delete;

protected:
    int_type overflow(int_type c) override;
    int sync() override { return flush_buffer(); }

    // 0, or -1 when the bytes could not be written. They then stay in the buffer.
    virtual int flush_buffer();

    // Hands bytes to the sink; the result is the number taken, or -1.
    virtual std::ptrdiff_t write_bytes(const CharT* data, std::size_t count) = 0;

private:
    void reset_put_area() { this->setp(buffer_.data(), buffer_.data() + buffer_.size() - 1); }

    std::vector<CharT> buffer_;
    bool ready_ = false;
};

class fileio_ostream : public streambuf_generic_output<char> {
public:
    explicit fileio_ostream(output_file& file) : file_(file) {}
    ~fileio_ostream() override { (void)flush_buffer(); }  // a failure is remembered by the file

protected:
    std::ptrdiff_t write_bytes(const char* data, std::size_t count) override;

private:
    output_file& file_;
};

// Has no buffer and is bad from the start when the file is not usable. What is left in the buffer is written on
// destruction.
class fileio_output : public std::basic_ostream<char> {
public:
    explicit fileio_output(output_file& file);

private:
    fileio_ostream buffer_;
};

template <typename CharT>
streambuf_generic_output<CharT>::streambuf_generic_output() {
    try {
        buffer_.resize(buffer_size);
    } catch (const std::bad_alloc&) {
        return;
    }
    reset_put_area();
    ready_ = true;
}

template <typename CharT>
auto streambuf_generic_output<CharT>::overflow(int_type c) -> int_type {
    if (!ready_) return traits::eof();
    auto count = static_cast<std::size_t>(this->pptr() - this->pbase());
    if (!traits::eq_int_type(c, traits::eof())) buffer_[count++] = traits::to_char_type(c);
    for (std::size_t done = 0; done < count;) {
        const std::ptrdiff_t taken = write_bytes(buffer_.data() + done, count - done);
        if (taken < 0) return traits::eof();
        done += static_cast<std::size_t>(taken);
    }
    reset_put_area();
    return traits::not_eof(c);
}

template <typename CharT>
int streambuf_generic_output<CharT>::flush_buffer() {
    if (!ready_) return 0;
    return traits::eq_int_type(overflow(traits::eof()), traits::eof()) ? -1 : 0;
}

extern template class streambuf_generic_output<char>;

}  // namespace uni
