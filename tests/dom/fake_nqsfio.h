// Fault injection for the file-I/O calls: the test executable's own np_fio_
// functions forward to the real library unless a fault is armed.
#ifndef FAKE_NQSFIO_H
#define FAKE_NQSFIO_H

#include <cstdint>
#include <string>

// The seek to the end reports `length` instead of the file's length.
void armEndSeek(std::int64_t length);
// `path` is cut to `size` bytes just before the next block read, as if
// another process shrank it after its length was taken.
void armShrinkBeforeRead(const std::string& path, long size);
// Block writes move at most `bytes` bytes.
void armWriteLimit(int bytes);
void clearFileFaults();

// Handles opened and not yet closed.
int openHandleCount();

#endif
