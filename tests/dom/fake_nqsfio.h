// Fault injection for the file-I/O calls: the test executable's own np_fio_
// functions forward to the real library unless a fault is armed.
#ifndef FAKE_NQSFIO_H
#define FAKE_NQSFIO_H

#include <cstdint>
#include <string>

struct FileFaults {
    // The seek to the end reports this instead of the file's length; -2: no fault.
    std::int64_t endSeekLength = -2;
    // Cut to shrinkSize bytes just before each block read, as if another
    // process shrank the file after its length was taken.
    std::string shrinkPath;
    long shrinkSize = 0;
};

// The faults in force; FileFaults() clears them.
extern FileFaults g_fileFaults;
// Handles opened and not yet closed.
extern int g_openHandles;

#endif
