// Loaded before a program's own libraries: counts what the program changes on disk, and strikes at one of the changes.
//
// MORVANE_FAULT=kill:N   the program is killed right before its Nth change
// MORVANE_FAULT=full:N   from the Nth change on, nothing that needs room succeeds
// MORVANE_FAULT=count:FILE   writes the number of changes to the file when the program ends
//
// Programs that it starts are left alone.
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

enum class Fault { none, kill, full, count };
enum class Needs { nothing, room };

Fault fault = Fault::none;
long struckChange = 0;
char countFile[4096];
std::atomic<long> changes = 0;

__attribute__((constructor)) void begin() {
    const char* wanted = std::getenv("MORVANE_FAULT");
    if (wanted != nullptr && std::strncmp(wanted, "kill:", 5) == 0) fault = Fault::kill;
    if (wanted != nullptr && std::strncmp(wanted, "full:", 5) == 0) fault = Fault::full;
    if (wanted != nullptr && std::strncmp(wanted, "count:", 6) == 0) {
        fault = Fault::count;
        std::snprintf(countFile, sizeof countFile, "%s", wanted + 6);
    } else if (fault != Fault::none) {
        struckChange = std::atol(wanted + 5);
    }
    ::unsetenv("LD_PRELOAD");
    ::unsetenv("MORVANE_FAULT");
}

__attribute__((destructor)) void end() {
    if (fault != Fault::count) return;
    fault = Fault::none;
    if (std::FILE* file = std::fopen(countFile, "w")) {
        std::fprintf(file, "%ld", changes.load());
        std::fclose(file);
    }
}

/// True when the change fails, with `errno` set.
bool strikes(Needs needs) {
    if (fault == Fault::none) return false;
    const long number = changes.fetch_add(1) + 1;
    if (fault == Fault::kill && number == struckChange) ::kill(::getpid(), SIGKILL);
    if (fault != Fault::full || number < struckChange || needs == Needs::nothing) return false;
    errno = ENOSPC;
    return true;
}

bool isFile(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

template <class Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

#define PASS_ON(result, name, needs, parameters, arguments)               \
    extern "C" result name parameters {                                   \
        static const auto real = next<result(*) parameters>(#name);       \
        return strikes(needs) ? static_cast<result>(-1) : real arguments; \
    }
#define PASS_ON_TO_FILES(result, name, parameters, arguments)                                   \
    extern "C" result name parameters {                                                         \
        static const auto real = next<result(*) parameters>(#name);                             \
        return isFile(file) && strikes(Needs::room) ? static_cast<result>(-1) : real arguments; \
    }
#define PASS_ON_OPEN(name, leading, passed)                                        \
    extern "C" int name leading {                                                  \
        static const auto real = next<int(*) leading>(#name);                      \
        mode_t mode = 0;                                                           \
        if ((flags & (O_CREAT | O_TMPFILE)) != 0) {                                \
            va_list rest;                                                          \
            va_start(rest, flags);                                                 \
            mode = va_arg(rest, mode_t);                                           \
            va_end(rest);                                                          \
        }                                                                          \
        if ((flags & (O_CREAT | O_TRUNC)) != 0 && strikes(Needs::room)) return -1; \
        return real passed;                                                        \
    }

PASS_ON_OPEN(open, (const char* path, int flags, ...), (path, flags, mode))
PASS_ON_OPEN(open64, (const char* path, int flags, ...), (path, flags, mode))
PASS_ON_OPEN(openat, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))
PASS_ON_OPEN(openat64, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))
PASS_ON_TO_FILES(ssize_t, write, (int file, const void* bytes, size_t size), (file, bytes, size))
PASS_ON_TO_FILES(ssize_t, pwrite, (int file, const void* bytes, size_t size, off_t at),
                 (file, bytes, size, at))
PASS_ON_TO_FILES(ssize_t, pwrite64, (int file, const void* bytes, size_t size, off64_t at),
                 (file, bytes, size, at))
PASS_ON_TO_FILES(int, ftruncate, (int file, off_t size), (file, size))
PASS_ON_TO_FILES(int, ftruncate64, (int file, off64_t size), (file, size))
PASS_ON_TO_FILES(int, fsync, (int file), (file))
PASS_ON_TO_FILES(int, fdatasync, (int file), (file))
PASS_ON(ssize_t, copy_file_range, Needs::room,
        (int in, off64_t* inAt, int out, off64_t* outAt, size_t size, unsigned flags),
        (in, inAt, out, outAt, size, flags))
PASS_ON(int, rename, Needs::nothing, (const char* from, const char* to), (from, to))
PASS_ON(int, renameat, Needs::nothing, (int a, const char* from, int b, const char* to), (a, from, b, to))
PASS_ON(int, renameat2, Needs::nothing, (int a, const char* from, int b, const char* to, unsigned flags),
        (a, from, b, to, flags))
PASS_ON(int, link, Needs::room, (const char* from, const char* to), (from, to))
PASS_ON(int, linkat, Needs::room, (int a, const char* from, int b, const char* to, int flags),
        (a, from, b, to, flags))
PASS_ON(int, symlink, Needs::room, (const char* target, const char* path), (target, path))
PASS_ON(int, symlinkat, Needs::room, (const char* target, int folder, const char* path),
        (target, folder, path))
PASS_ON(int, mkdir, Needs::room, (const char* path, mode_t mode), (path, mode))
PASS_ON(int, mkdirat, Needs::room, (int folder, const char* path, mode_t mode), (folder, path, mode))
extern "C" char* mkdtemp(char* pattern) {
    static const auto real = next<char* (*)(char*)>("mkdtemp");
    return strikes(Needs::room) ? nullptr : real(pattern);
}
PASS_ON(int, unlink, Needs::nothing, (const char* path), (path))
PASS_ON(int, unlinkat, Needs::nothing, (int folder, const char* path, int flags), (folder, path, flags))
PASS_ON(int, rmdir, Needs::nothing, (const char* path), (path))
PASS_ON(int, chmod, Needs::nothing, (const char* path, mode_t mode), (path, mode))
PASS_ON(int, fchmod, Needs::nothing, (int file, mode_t mode), (file, mode))
