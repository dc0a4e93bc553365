// Stand-in np_fio_ calls. Linked into the test executable, they take the
// place of the shared library's for the code under test and reach the real
// ones through dlsym(RTLD_NEXT).
#include "fake_nqsfio.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "nqsfio.h"

namespace {

const std::int64_t kNoLength = -2;

struct Faults {
    std::int64_t endSeekLength = kNoLength;
    std::string shrinkPath;
    long shrinkSize = 0;
    int writeLimit = -1;
};

Faults g_faults;
int g_openHandles = 0;

template <typename Function>
Function real(const char* name) {
    void* symbol = dlsym(RTLD_NEXT, name);
    if (symbol == nullptr) {
        std::fprintf(stderr, "fake_nqsfio: no real %s\n", name);
        std::abort();
    }
    return reinterpret_cast<Function>(symbol);
}

}  // namespace

void armEndSeek(std::int64_t length) {
    g_faults.endSeekLength = length;
}

void armShrinkBeforeRead(const std::string& path, long size) {
    g_faults.shrinkPath = path;
    g_faults.shrinkSize = size;
}

void armWriteLimit(int bytes) {
    g_faults.writeLimit = bytes;
}

void clearFileFaults() {
    g_faults = Faults();
}

int openHandleCount() {
    return g_openHandles;
}

extern "C" {

int np_fio_open(const char* path, int mode, NpFioHandle* handle) {
    static const auto realOpen = real<int (*)(const char*, int, NpFioHandle*)>("np_fio_open");
    const int result = realOpen(path, mode, handle);
    if (result == 0) ++g_openHandles;
    return result;
}

std::int64_t np_fio_seek(NpFioHandle handle, std::int64_t offset, int origin) {
    static const auto realSeek = real<std::int64_t (*)(NpFioHandle, std::int64_t, int)>("np_fio_seek");
    const std::int64_t position = realSeek(handle, offset, origin);
    if (origin == NP_FIO_SEEK_END && g_faults.endSeekLength != kNoLength) return g_faults.endSeekLength;
    return position;
}

int np_fio_getb(NpFioHandle handle, void* buffer, int count) {
    static const auto realGetb = real<int (*)(NpFioHandle, void*, int)>("np_fio_getb");
    if (!g_faults.shrinkPath.empty() && truncate(g_faults.shrinkPath.c_str(), g_faults.shrinkSize) != 0) {
        std::perror("fake_nqsfio: truncate");
        std::abort();
    }
    return realGetb(handle, buffer, count);
}

int np_fio_putb(NpFioHandle handle, const void* buffer, int count) {
    static const auto realPutb = real<int (*)(NpFioHandle, const void*, int)>("np_fio_putb");
    if (g_faults.writeLimit >= 0) count = std::min(count, g_faults.writeLimit);
    return realPutb(handle, buffer, count);
}

int np_fio_close(NpFioHandle handle) {
    static const auto realClose = real<int (*)(NpFioHandle)>("np_fio_close");
    --g_openHandles;
    return realClose(handle);
}
}
