// read_ewf SEGMENT...: reads an E01 to its end through libewf in pieces of 1 MiB, which is what any reader of it costs.
#include <libewf.h>

#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
    libewf_handle_t* handle = nullptr;
    if (argc < 2 || libewf_handle_initialize(&handle, nullptr) != 1 ||
        libewf_handle_open(handle, argv + 1, argc - 1, LIBEWF_OPEN_READ, nullptr) != 1) {
        return 1;
    }
    std::vector<unsigned char> piece(std::size_t{1} << 20U);
    unsigned long long total = 0;
    ssize_t got = 0;
    while ((got = libewf_handle_read_buffer(handle, piece.data(), piece.size(), nullptr)) > 0) {
        total += static_cast<unsigned long long>(got);
    }
    std::printf("%llu\n", total);
    return got == 0 ? 0 : 1;
}
