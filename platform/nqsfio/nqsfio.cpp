#include "nqsfio.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#include <cerrno>
#include <climits>
#include <new>

namespace {

struct FioFile {
    int fd;
};

FioFile* fileOf(NpFioHandle handle) {
    return static_cast<FioFile*>(handle);
}

int openFlags(int mode) {
    switch (mode) {
        case NP_FIO_READ:
            return O_RDONLY | O_CLOEXEC;
        case NP_FIO_WRITE:
            return O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
        default:
            return -1;
    }
}

int whenceOf(int origin) {
    switch (origin) {
        case NP_FIO_SEEK_START:
            return SEEK_SET;
        case NP_FIO_SEEK_CURRENT:
            return SEEK_CUR;
        case NP_FIO_SEEK_END:
            return SEEK_END;
        default:
            return -1;
    }
}

bool validTransfer(NpFioHandle handle, const void* buffer, int count) {
    if (handle == nullptr || count < 0 || (buffer == nullptr && count > 0)) {
        errno = EINVAL;
        return false;
    }
    return true;
}

}  // namespace

extern "C" {

int np_fio_open(const char* path, int mode, NpFioHandle* handle) {
    const int flags = openFlags(mode);
    if (path == nullptr || handle == nullptr || flags < 0) return EINVAL;

    int fd;
    do {
        fd = ::open(path, flags, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) return errno;
    // A directory opens for reading but is no file to read.
    struct stat info;
    if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
        ::close(fd);
        return EISDIR;
    }

    FioFile* file = new (std::nothrow) FioFile{fd};
    if (file == nullptr) {
        ::close(fd);
        return ENOMEM;
    }
    *handle = file;
    return 0;
}

std::int64_t np_fio_seek(NpFioHandle handle, std::int64_t offset, int origin) {
    const int whence = whenceOf(origin);
    if (handle == nullptr || whence < 0) {
        errno = EINVAL;
        return -1;
    }
    const off_t position = ::lseek(fileOf(handle)->fd, static_cast<off_t>(offset), whence);
    return position < 0 ? -1 : static_cast<std::int64_t>(position);
}

// An error after some bytes have moved still reports those bytes; the next
// call sees the error again.
int np_fio_getb(NpFioHandle handle, void* buffer, int count) {
    if (!validTransfer(handle, buffer, count)) return -1;
    char* at = static_cast<char*>(buffer);
    int done = 0;
    while (done < count) {
        const ssize_t n = ::read(fileOf(handle)->fd, at + done, static_cast<size_t>(count - done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return done > 0 ? done : -1;
        if (n == 0) break;
        done += static_cast<int>(n);
    }
    return done;
}

int np_fio_putb(NpFioHandle handle, const void* buffer, int count) {
    if (!validTransfer(handle, buffer, count)) return -1;
    const char* at = static_cast<const char*>(buffer);
    int done = 0;
    while (done < count) {
        const ssize_t n = ::write(fileOf(handle)->fd, at + done, static_cast<size_t>(count - done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return done > 0 ? done : -1;
        // A write that moves nothing would loop for ever.
        if (n == 0) break;
        done += static_cast<int>(n);
    }
    return done;
}

// The descriptor is released even when close reports an error, so it is not
// retried (Linux frees it on EINTR too).
int np_fio_close(NpFioHandle handle) {
    if (handle == nullptr) return EINVAL;
    FioFile* file = fileOf(handle);
    const int rc = ::close(file->fd);
    const int error = rc == 0 ? 0 : errno;
    delete file;
    return error;
}

}  // extern "C"
