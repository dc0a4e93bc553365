#include "nqxbase.h"

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>

// Most results fit the stack buffer; longer ones are formatted a second time
// into a buffer of the exact size. An encoding error gives a null string.
NqbString nqbStringFormat(const char* format, ...) {
    NqbString result;
    if (format == nullptr) return result;

    char small[256];
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const int needed = std::vsnprintf(small, sizeof small, format, args);
    va_end(args);
    if (needed < 0) {
        va_end(again);
        return result;
    }
    if (static_cast<size_t>(needed) < sizeof small) {
        va_end(again);
        result.assign(small, needed);
        return result;
    }
    std::unique_ptr<char[]> large(new (std::nothrow) char[static_cast<size_t>(needed) + 1]);
    if (!large) {
        va_end(again);
        throw std::bad_alloc();
    }
    std::vsnprintf(large.get(), static_cast<size_t>(needed) + 1, format, again);
    va_end(again);
    result.assign(large.get(), needed);
    return result;
}
