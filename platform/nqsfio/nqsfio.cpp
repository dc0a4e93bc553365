#include "nqsfio.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <new>
#include <string>

namespace {

struct FioFile {
    int fd = -1;
    // Set when the file is written through a temporary that replaces it.
    std::string target;
    std::string temporary;
    // The temporary already carries its name (no unnamed files here).
    bool named = false;
    // errno of the first write that failed or fell short; 0: none did.
    int writeError = 0;
};

FioFile* fileOf(NpFioHandle handle) {
    return static_cast<FioFile*>(handle);
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

int openRetrying(const char* path, int flags) {
    int fd;
    do {
        fd = ::open(path, flags, 0666);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

// Opening a FIFO without a writer would block; only a regular file has a
// length to read, so anything else is refused before it is used.
int openForReading(const char* path, FioFile& file) {
    const int fd = openRetrying(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return errno;
    struct stat info;
    int error = 0;
    if (::fstat(fd, &info) != 0) {
        error = errno;
    } else if (!S_ISREG(info.st_mode)) {
        error = S_ISDIR(info.st_mode) ? EISDIR : ESPIPE;
    } else if (::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK) != 0) {
        error = errno;
    }
    if (error != 0) {
        ::close(fd);
        return error;
    }
    file.fd = fd;
    return 0;
}

// The file a chain of symbolic links ends at, so that the file is replaced
// and the links stay.
int followLinks(std::string& path) {
    for (int hops = 0; hops < 40; ++hops) {
        struct stat info;
        if (::lstat(path.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return 0;
        char link[PATH_MAX];
        const ssize_t n = ::readlink(path.c_str(), link, sizeof link);
        if (n < 0) return errno;
        if (n == sizeof link) return ENAMETOOLONG;
        const std::string next(link, static_cast<size_t>(n));
        const size_t slash = path.rfind('/');
        path = next[0] == '/' || slash == std::string::npos ? next : path.substr(0, slash + 1) + next;
    }
    return ELOOP;
}

// The new content goes to an unnamed file in the target's folder, linked in
// under the temporary name only once complete; where unnamed files are not
// to be had it is written under that name directly. A temporary left behind
// by a writer that died is taken over by the next write.
int openTemporary(FioFile& file, const std::string& folder) {
    const bool unnamed = ::access("/proc/self/fd", X_OK) == 0;
    if (unnamed) {
        file.fd = openRetrying(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC);
        if (file.fd >= 0) return 0;
        if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) return errno;
    }
    file.named = true;
    for (int attempt = 0; attempt < 4; ++attempt) {
        ::unlink(file.temporary.c_str());
        file.fd = openRetrying(file.temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC);
        if (file.fd >= 0 || errno != EEXIST) break;
    }
    return file.fd >= 0 ? 0 : errno;
}

// Anything but a regular file (a device, a FIFO) is written in place.
int openForWriting(const char* path, FioFile& file) {
    std::string target = path;
    if (const int error = followLinks(target)) return error;
    struct stat info;
    const bool exists = ::stat(target.c_str(), &info) == 0;
    if ((exists && !S_ISREG(info.st_mode)) || target.back() == '/') {
        file.fd = openRetrying(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC);
        return file.fd >= 0 ? 0 : errno;
    }
    // Replacing must not get round a file that refuses writes.
    if (exists && ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) return errno;
    const size_t slash = target.rfind('/');
    const std::string prefix = slash == std::string::npos ? "" : target.substr(0, slash + 1);
    // Names near the length limit share a shortened temporary name.
    file.temporary = prefix + "." + target.substr(prefix.size(), NAME_MAX - 7) + ".nqtmp";
    file.target = target;
    if (const int error = openTemporary(file, prefix.empty() ? "." : prefix)) return error;
    if (!exists) return 0;
    // Owner first: changing it clears the set-id bits that fchmod then restores.
    if (::fchown(file.fd, info.st_uid, info.st_gid) != 0) {
        // Only a privileged writer may give the file away; it keeps the writer's.
    }
    if (::fchmod(file.fd, info.st_mode & 07777) == 0) return 0;
    const int error = errno;
    ::close(file.fd);
    if (file.named) ::unlink(file.temporary.c_str());
    return error;
}

// Gives the complete unnamed file the temporary name, taking the name over
// from a writer that died between linking and renaming.
int linkTemporary(FioFile& file) {
    char self[64];
    std::snprintf(self, sizeof self, "/proc/self/fd/%d", file.fd);
    for (int attempt = 0; attempt < 4; ++attempt) {
        ::unlink(file.temporary.c_str());
        if (::linkat(AT_FDCWD, self, AT_FDCWD, file.temporary.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            file.named = true;
            return 0;
        }
        if (errno != EEXIST) return errno;
    }
    return EEXIST;
}

// Only a file that took every write is made durable and renamed over the
// target, in one step; otherwise the temporary goes and the target stays.
int replaceTarget(FioFile& file) {
    int error = file.writeError;
    if (error == 0 && ::fsync(file.fd) != 0) error = errno;
    if (error == 0 && !file.named) error = linkTemporary(file);
    if (error == 0 && ::rename(file.temporary.c_str(), file.target.c_str()) != 0) error = errno;
    if (error != 0 && file.named) ::unlink(file.temporary.c_str());
    return error;
}

}  // namespace

extern "C" {

int np_fio_open(const char* path, int mode, NpFioHandle* handle) {
    if (path == nullptr || handle == nullptr || (mode != NP_FIO_READ && mode != NP_FIO_WRITE)) return EINVAL;
    if (*path == '\0') return ENOENT;
    FioFile* file = new (std::nothrow) FioFile;
    if (file == nullptr) return ENOMEM;
    int error;
    try {
        error = mode == NP_FIO_READ ? openForReading(path, *file) : openForWriting(path, *file);
    } catch (const std::bad_alloc&) {
        if (file->fd >= 0) ::close(file->fd);
        error = ENOMEM;
    }
    if (error != 0) {
        delete file;
        return error;
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

// A write that fails or falls short marks the handle, so that close keeps
// the old file.
int np_fio_putb(NpFioHandle handle, const void* buffer, int count) {
    if (!validTransfer(handle, buffer, count)) return -1;
    FioFile* file = fileOf(handle);
    const char* at = static_cast<const char*>(buffer);
    int done = 0;
    while (done < count) {
        const ssize_t n = ::write(file->fd, at + done, static_cast<size_t>(count - done));
        if (n < 0 && errno == EINTR) continue;
        // A write that moves nothing would loop for ever.
        if (n <= 0) {
            if (file->writeError == 0) file->writeError = n < 0 ? errno : ENOSPC;
            return n < 0 && done == 0 ? -1 : done;
        }
        done += static_cast<int>(n);
    }
    return done;
}

// The descriptor is released even when close reports an error, so it is not
// retried (Linux frees it on EINTR too).
int np_fio_close(NpFioHandle handle) {
    if (handle == nullptr) return EINVAL;
    FioFile* file = fileOf(handle);
    int error = file->target.empty() ? file->writeError : replaceTarget(*file);
    if (::close(file->fd) != 0 && error == 0) error = errno;
    delete file;
    return error;
}

}  // extern "C"
