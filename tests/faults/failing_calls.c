// failing_calls.c: a library to preload that lets one call of a program fail. FAULT_CALL names the kind, FAULT_NUMBER
// says which call of that kind (from 1; 0: none, they are only counted), FAULT_ERROR with which errno. Of files only
// those below FAULT_FOLDER count. How many there were is appended to the file FAULT_COUNT.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

enum
{
    LARGE = 1 << 19, // bytes of a block of memory that counts
    MOST_FILES = 4096
};

static const char* s_call;
static const char* s_folder;
static long s_number;
static int s_error;
static int s_ready;
static atomic_long s_seen;
static atomic_char s_ours[MOST_FILES]; // descriptors of files that count

__attribute__((constructor)) static void prepare(void)
{
    s_call = getenv("FAULT_CALL");
    s_folder = getenv("FAULT_FOLDER");
    s_number = getenv("FAULT_NUMBER") ? atol(getenv("FAULT_NUMBER")) : 0;
    s_error = getenv("FAULT_ERROR") ? atoi(getenv("FAULT_ERROR")) : EIO;
    s_ready = s_call && s_folder;
}

static long (*next(const char* name))()
{
    return (long (*)())dlsym(RTLD_NEXT, name);
}

__attribute__((destructor)) static void tell(void)
{
    const char* path = getenv("FAULT_COUNT");
    if (!s_ready || !path)
        return;
    char line[64];
    const int size = snprintf(line, sizeof line, "%ld\n", (long)s_seen);
    const int file = (int)next("open")(path, O_WRONLY | O_APPEND | O_CREAT, 0600);
    if (file >= 0 && next("write")(file, line, (size_t)size) == size)
        close(file);
}

static int fails(const char* call)
{
    if (!s_ready || strcmp(call, s_call) != 0)
        return 0;
    const long seen = atomic_fetch_add(&s_seen, 1) + 1;
    if (seen != s_number)
        return 0;
    errno = s_error;
    return 1;
}

static int counts(const char* path)
{
    if (!s_ready || !path)
        return 0;
    char whole[2 * PATH_MAX];
    if (path[0] != '/') {
        if (!getcwd(whole, PATH_MAX))
            return 0;
        strcat(whole, "/");
        strncat(whole, path, PATH_MAX - 1);
        path = whole;
    }
    return strncmp(path, s_folder, strlen(s_folder)) == 0;
}

static int isOurs(int file)
{
    return file >= 0 && file < MOST_FILES && s_ours[file];
}

static int opened(int file, int isCounted)
{
    if (file >= 0 && file < MOST_FILES)
        s_ours[file] = (char)isCounted;
    return file;
}

#define OPEN(name, ...)                                                                                                \
    va_list rest;                                                                                                      \
    va_start(rest, flags);                                                                                             \
    const int mode = va_arg(rest, int);                                                                                \
    va_end(rest);                                                                                                      \
    const int isCounted = counts(path);                                                                                \
    if (isCounted && fails("open"))                                                                                    \
        return -1;                                                                                                     \
    return opened((int)next(name)(__VA_ARGS__, mode), isCounted)

int open(const char* path, int flags, ...)
{
    OPEN("open", path, flags);
}

int open64(const char* path, int flags, ...)
{
    OPEN("open64", path, flags);
}

int openat(int folder, const char* path, int flags, ...)
{
    OPEN("openat", folder, path, flags);
}

int openat64(int folder, const char* path, int flags, ...)
{
    OPEN("openat64", folder, path, flags);
}

static FILE* openStream(const char* name, const char* path, const char* mode)
{
    const int isCounted = counts(path);
    if (isCounted && fails("open"))
        return NULL;
    FILE* file = ((FILE * (*)(const char*, const char*)) dlsym(RTLD_NEXT, name))(path, mode);
    if (file)
        opened(fileno(file), isCounted);
    return file;
}

FILE* fopen(const char* path, const char* mode)
{
    return openStream("fopen", path, mode);
}

FILE* fopen64(const char* path, const char* mode)
{
    return openStream("fopen64", path, mode);
}

#define ON_FILE(kind, name, file, ...)                                                                                 \
    if (isOurs(file) && fails(kind))                                                                                   \
        return -1;                                                                                                     \
    return next(name)(file, ##__VA_ARGS__)

ssize_t read(int file, void* to, size_t size)
{
    ON_FILE("read", "read", file, to, size);
}

ssize_t pread64(int file, void* to, size_t size, off64_t at)
{
    ON_FILE("read", "pread64", file, to, size, at);
}

ssize_t write(int file, const void* from, size_t size)
{
    ON_FILE("write", "write", file, from, size);
}

ssize_t pwrite64(int file, const void* from, size_t size, off64_t at)
{
    ON_FILE("write", "pwrite64", file, from, size, at);
}

ssize_t writev(int file, const struct iovec* from, int count)
{
    ON_FILE("write", "writev", file, from, count);
}

int fsync(int file)
{
    if (isOurs(file) && fails("fsync"))
        return -1;
    return (int)next("fsync")(file);
}

int fdatasync(int file)
{
    if (isOurs(file) && fails("fsync"))
        return -1;
    return (int)next("fdatasync")(file);
}

int ftruncate64(int file, off64_t size)
{
    if (isOurs(file) && fails("write"))
        return -1;
    return (int)next("ftruncate64")(file, size);
}

int rename(const char* from, const char* to)
{
    if (counts(to) && fails("rename"))
        return -1;
    return (int)next("rename")(from, to);
}

int unlink(const char* path)
{
    if (counts(path) && fails("unlink"))
        return -1;
    return (int)next("unlink")(path);
}

int mkdir(const char* path, mode_t mode)
{
    if (counts(path) && fails("mkdir"))
        return -1;
    return (int)next("mkdir")(path, mode);
}

int socket(int domain, int type, int protocol)
{
    return fails("socket") ? -1 : (int)next("socket")(domain, type, protocol);
}

int bind(int file, const struct sockaddr* address, socklen_t size)
{
    return fails("bind") ? -1 : (int)next("bind")(file, address, size);
}

int listen(int file, int backlog)
{
    return fails("listen") ? -1 : (int)next("listen")(file, backlog);
}

int connect(int file, const struct sockaddr* address, socklen_t size)
{
    return fails("connect") ? -1 : (int)next("connect")(file, address, size);
}

int pipe2(int ends[2], int flags)
{
    return fails("pipe") ? -1 : (int)next("pipe2")(ends, flags);
}

pid_t fork(void)
{
    return fails("fork") ? -1 : (pid_t)next("fork")();
}

int execve(const char* path, char* const arguments[], char* const environment[])
{
    return fails("exec") ? -1 : (int)next("execve")(path, arguments, environment);
}

int execv(const char* path, char* const arguments[])
{
    return fails("exec") ? -1 : (int)next("execv")(path, arguments);
}

extern void* __libc_malloc(size_t);
extern void* __libc_realloc(void*, size_t);
extern void* __libc_calloc(size_t, size_t);
extern void* __libc_memalign(size_t, size_t);

void* malloc(size_t size)
{
    return size >= LARGE && fails("memory") ? NULL : __libc_malloc(size);
}

void* calloc(size_t count, size_t size)
{
    return count && size >= LARGE / count && fails("memory") ? NULL : __libc_calloc(count, size);
}

void* realloc(void* block, size_t size)
{
    return size >= LARGE && fails("memory") ? NULL : __libc_realloc(block, size);
}

void* mmap(void* address, size_t size, int protection, int flags, int file, off_t place)
{
    if (file == -1 && size >= LARGE && fails("memory"))
        return MAP_FAILED;
    return ((void* (*)(void*, size_t, int, int, int, off_t))next("mmap"))(address, size, protection, flags, file, place);
}

int posix_memalign(void** block, size_t alignment, size_t size)
{
    if (size >= LARGE && fails("memory"))
        return ENOMEM;
    *block = __libc_memalign(alignment, size);
    return *block ? 0 : ENOMEM;
}
