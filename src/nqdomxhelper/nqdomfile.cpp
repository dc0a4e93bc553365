// Whole-file read and write through the file-I/O library: one block read into
// an exact-size buffer, one block write of the whole text.
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

#include "nqdom.h"
#include "nqdommessages.h"
#include "nqdomxhelper/nqdomreadbytes.h"
#include "nqsfio.h"

namespace {

// Closes the handle on every path out of the call.
class FileHandle {
public:
    FileHandle() = default;
    ~FileHandle() {
        if (m_handle != nullptr) np_fio_close(m_handle);
    }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;

    // A failed open leaves no handle, whatever it wrote.
    int open(const char* path, int mode) {
        NpFioHandle handle = nullptr;
        const int result = np_fio_open(path, mode, &handle);
        if (result == 0) m_handle = handle;
        return result;
    }
    NpFioHandle get() const { return m_handle; }

private:
    NpFioHandle m_handle = nullptr;
};

// A buffer of length + 1 bytes, or null when it can't be had. A length the
// 32-bit block read can't take gets none either.
std::unique_ptr<char[]> contentBuffer(std::int64_t length) {
    if (length >= std::numeric_limits<int>::max()) return nullptr;
    try {
        return std::unique_ptr<char[]>(new char[length + 1]);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// The file's content: all of it, or up to its first 0 byte.
NqbString readFile(const NqbString& fileName, NqbString* error, bool untilZero) {
    FileHandle file;
    if (file.open(fileName.asCstr(), NP_FIO_READ) != 0) {
        *error = NQ_LIBXML_MESSAGE(NQ_MSG_OPEN_READ, fileName.asCstr());
        return NqbString();
    }
    const std::int64_t length = np_fio_seek(file.get(), 0, NP_FIO_SEEK_END);
    if (length == 0) {
        *error = NQ_LIBXML_MESSAGE(NQ_MSG_FILE_EMPTY);
        return NqbString();
    }
    // A failed seek leaves nothing that could be read.
    if (length < 0) {
        *error = NQ_LIBXML_MESSAGE(NQ_MSG_READ_SHORT, fileName.asCstr());
        return NqbString();
    }
    np_fio_seek(file.get(), 0, NP_FIO_SEEK_START);

    std::unique_ptr<char[]> buffer = contentBuffer(length);
    if (!buffer) {
        *error = NQ_LIBXML_MESSAGE(NQ_MSG_NO_MEMORY);
        return NqbString();
    }
    const int count = static_cast<int>(length);
    const int read = np_fio_getb(file.get(), buffer.get(), count);
    buffer[count] = '\0';
    if (read != count) {
        *error = NQ_LIBXML_MESSAGE(NQ_MSG_READ_SHORT, fileName.asCstr());
        return NqbString();
    }
    NqbString content;
    if (untilZero) {
        content.assign(buffer.get());
    } else {
        content.assign(buffer.get(), count);
    }
    return content;
}

}  // namespace

NqbString nqDomReadFileToString(const NqbString& fileName, NqbString* error) {
    return readFile(fileName, error, true);
}

NqbString nqDomReadFileBytes(const NqbString& fileName, NqbString* error) {
    return readFile(fileName, error, false);
}

bool nqDomWriteStringToFile(const NqbString& fileName, const NqbString& text, NqbString* error) {
    int written = 0;
    const int count = text.cStrSize() - 1;
    {
        FileHandle file;
        if (file.open(fileName.asCstr(), NP_FIO_WRITE) != 0) {
            *error = NQ_LIBXML_MESSAGE(NQ_MSG_OPEN_WRITE, fileName.asCstr());
            return false;
        }
        written = np_fio_putb(file.get(), text.asCstr(), count);
    }
    if (written == count) return true;
    *error = NQ_LIBXML_MESSAGE(NQ_MSG_WRITE_SHORT, fileName.asCstr());
    return false;
}
