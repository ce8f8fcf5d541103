// A container of any format: what opening it, reading it and asking for its holes does. The input is its size and then
// pieces, each behind its offset and length, because the formats need megabytes that are mostly empty.
#include "fuzz_support.h"

#include "storage/containers/container.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t largest_file = 16U << 20U;

// A file that lies in memory; the same for every input.
int file_of_run() {
    static const int descriptor = memfd_create("container", 0);
    return descriptor;
}

void put(int file, std::span<const std::uint8_t> piece, std::uint32_t at) {
    if (at < largest_file && pwrite(file, piece.data(), piece.size(), at) < 0) std::abort();
}

void read_all_over(disk_reader& image) {
    std::vector<std::uint8_t> piece(std::size_t{1} << 18U);
    std::size_t got = 0;
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    int failed = 0;  // each costs a chunk that a library never gives back
    for (int i = 0; i < 32 && failed < 3 && image.next_data(end, begin, end); ++i) {
        failed += image.read_at(begin, piece, got) ? 0 : 1;
        failed += image.read_at(end - 1, std::span(piece).first(4096), got) ? 0 : 1;
    }
    (void)image.read_at(image.disk_size() / 2, piece, got);
}

}  // namespace

// What the libraries forget where they give up is theirs; that it stays little is the memory limit's to tell.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libewf_\nleak:libvhdi_\nleak:libvmdk_\nleak:libqcow_\nleak:libbfio_\nleak:libcdata_\nleak:libcfile_\n"
           "leak:libfcache_\nleak:libfdata_\nleak:libfvalue_\nleak:libmfdata_\nleak:libcthreads_\n";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz_input in(data, size);
    const int file = file_of_run();
    if (ftruncate(file, 0) != 0 || ftruncate(file, in.number<std::uint32_t>() % largest_file) != 0) std::abort();
    while (!in.empty()) {
        const auto at = in.number<std::uint32_t>();
        put(file, in.take(in.number<std::uint16_t>()), at);
    }
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    std::array<std::uint8_t, container_signature_size> first{};
    if (pread(file, first.data(), first.size(), 0) < 0) std::abort();
    const container_format format = container_format_of(byte_view(first));
    if (!build_reads(format.reader)) return 0;
    (void)files_of_image(path);
    opened_container opened = open_container(path, format);
    if (opened.source == nullptr) return 0;
    disk_reader image;
    image.open(std::move(opened.source));
    read_all_over(image);
    return 0;
}
