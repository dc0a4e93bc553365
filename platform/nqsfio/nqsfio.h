// File-I/O library: whole-count block reads and writes over POSIX files.
#ifndef NQSFIO_H
#define NQSFIO_H

#include <cstdint>

#define NQSFIO_API __attribute__((visibility("default")))

// Mode codes of np_fio_open.
enum {
    NP_FIO_READ = 1,   // open an existing regular file for reading
    NP_FIO_WRITE = 70  // create the file, or replace it as a whole, for writing
};

// Origins of np_fio_seek.
enum { NP_FIO_SEEK_START = 0, NP_FIO_SEEK_CURRENT = 1, NP_FIO_SEEK_END = 2 };

typedef void* NpFioHandle;

extern "C" {
// 0 on success with *handle filled in; non-zero (an errno value) otherwise,
// also for an unknown mode. No handle is left to close on failure.
// Reading refuses what is not a regular file without waiting on it: EISDIR
// for a directory, ESPIPE for a FIFO, socket or device.
// Writing a regular file, or a new one, goes to a temporary file beside it
// that np_fio_close renames over it, so the file holds either its old content
// or everything written; the file keeps its permission bits, and symbolic
// links are followed and stay. Devices and FIFOs are written in place.
NQSFIO_API int np_fio_open(const char* path, int mode, NpFioHandle* handle);
// The new position from the start, or -1 on failure.
NQSFIO_API std::int64_t np_fio_seek(NpFioHandle handle, std::int64_t offset, int origin);
// Reads up to `count` bytes, retrying short reads and EINTR until the count
// or the end of file; returns the bytes read (-1 when nothing could be read
// because of an error).
NQSFIO_API int np_fio_getb(NpFioHandle handle, void* buffer, int count);
// Writes `count` bytes, retrying short writes and EINTR; returns the bytes
// written (-1 when nothing could be written because of an error).
NQSFIO_API int np_fio_putb(NpFioHandle handle, const void* buffer, int count);
// Closes and frees the handle. For a replacing write: makes the new file
// durable and renames it over the old one when every write on the handle
// succeeded, else removes it and leaves the old file. 0 only when the file
// now holds every byte written; otherwise an errno value.
NQSFIO_API int np_fio_close(NpFioHandle handle);
}

#endif
