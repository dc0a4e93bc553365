// Stand-in np_fio_ calls. Linked into the test executable, they take the
// place of the shared library's for the code under test and reach the real
// ones through dlsym(RTLD_NEXT).
#include "fake_nqsfio.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "nqsfio.h"

FileFaults g_fileFaults;
int g_openHandles = 0;

namespace {

// Aborts when the real library is not loaded.
template <typename Function>
Function real(const char* name) {
    void* symbol = dlsym(RTLD_NEXT, name);
    if (symbol == nullptr) std::abort();
    return reinterpret_cast<Function>(symbol);
}

}  // namespace

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
    if (origin == NP_FIO_SEEK_END && g_fileFaults.endSeekLength != -2) return g_fileFaults.endSeekLength;
    return position;
}

int np_fio_getb(NpFioHandle handle, void* buffer, int count) {
    static const auto realGetb = real<int (*)(NpFioHandle, void*, int)>("np_fio_getb");
    const FileFaults& faults = g_fileFaults;
    if (!faults.shrinkPath.empty() && truncate(faults.shrinkPath.c_str(), faults.shrinkSize) != 0) {
        std::perror("fake_nqsfio: truncate");
        std::abort();
    }
    return realGetb(handle, buffer, count);
}

int np_fio_close(NpFioHandle handle) {
    static const auto realClose = real<int (*)(NpFioHandle)>("np_fio_close");
    --g_openHandles;
    return realClose(handle);
}
}
