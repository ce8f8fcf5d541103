// Preloaded into the program by tests of the whole program: the system answers as it does when a disk fails.
//   LORQ_BAD_READ  "begin end ...": reads that touch such bytes of a file fail
//   LORQ_AT_WRITE  "n what": from the n-th write to anything but standard error on the disk is "full", or all writes
//   are
//                  "short"; anything else is a shell command that is run before that write

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::istringstream setting(const char* name) {
    const char* text = std::getenv(name);
    return std::istringstream(text == nullptr ? "" : text);
}

}  // namespace

extern "C" ssize_t pread(int file, void* into, std::size_t size, off_t at) {
    std::istringstream bad = setting("LORQ_BAD_READ");
    for (off_t begin = 0, end = 0; bad >> begin >> end;) {
        if (at < end && begin < at + static_cast<off_t>(size)) return errno = EIO, -1;
    }
    return syscall(SYS_pread64, file, into, size, at);
}

extern "C" ssize_t write(int file, const void* from, std::size_t size) {
    static int writes = 0;
    std::istringstream when = setting("LORQ_AT_WRITE");
    int which = 0;
    std::string what;
    if (file != STDERR_FILENO && when >> which && ++writes >= which && std::getline(when >> std::ws, what)) {
        if (what == "full") return errno = ENOSPC, -1;
        if (what == "short") {
            size = size < 1000 ? size : 1000;
        } else if (writes == which) {
            (void)unsetenv("LD_PRELOAD");
            if (std::system(what.c_str()) != 0) std::abort();
        }
    }
    return syscall(SYS_write, file, from, size);
}
