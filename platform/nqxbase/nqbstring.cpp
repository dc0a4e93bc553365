#include "nqxbase.h"

#include <locale.h>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// Largest text kept; lengths travel as int through the interface.
constexpr unsigned kMaxLength = INT_MAX - 1;

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

unsigned char foldCase(unsigned char c) {
    return (c >= 'A' && c <= 'Z') ? c + ('a' - 'A') : c;
}

int compareBytes(const char* a, unsigned aLength, const char* b, unsigned bLength, bool caseSensitive) {
    const unsigned common = aLength < bLength ? aLength : bLength;
    for (unsigned i = 0; i < common; ++i) {
        unsigned char ca = static_cast<unsigned char>(a[i]);
        unsigned char cb = static_cast<unsigned char>(b[i]);
        if (!caseSensitive) {
            ca = foldCase(ca);
            cb = foldCase(cb);
        }
        if (ca != cb) return ca < cb ? -1 : 1;
    }
    if (aLength == bLength) return 0;
    return aLength < bLength ? -1 : 1;
}

// Length of the decimal number at the start of `text`: [sign] digits [. digits]
// [e [sign] digits]. 0 when there is none. Hex, "inf" and "nan" are not numbers here.
size_t scanDecimal(const char* text) {
    size_t i = 0;
    if (text[i] == '+' || text[i] == '-') ++i;
    size_t digits = 0;
    while (isDigit(text[i])) ++i, ++digits;
    if (text[i] == '.') {
        ++i;
        while (isDigit(text[i])) ++i, ++digits;
    }
    if (digits == 0) return 0;
    if (text[i] == 'e' || text[i] == 'E') {
        size_t j = i + 1;
        if (text[j] == '+' || text[j] == '-') ++j;
        if (isDigit(text[j])) {
            while (isDigit(text[j])) ++j;
            i = j;
        }
    }
    return i;
}

// strtod reads the decimal point of the current locale; numbers here always use '.'.
locale_t cLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
    return locale;
}

}  // namespace

NqbString::NqbString(const char* text, bool /*flag*/) : NqbString() {
    assign(text);
}

NqbString::NqbString(const NqbString& other) : NqbString() {
    if (!other.m_null) setBytes(other.asCstr(), other.m_length);
}

NqbString::NqbString(NqbString&& other) noexcept : NqbString() {
    *this = std::move(other);
}

NqbString& NqbString::operator=(const NqbString& other) {
    if (this == &other) return *this;
    if (other.m_null) {
        setNull();
        return *this;
    }
    setBytes(other.asCstr(), other.m_length);
    return *this;
}

NqbString& NqbString::operator=(NqbString&& other) noexcept {
    if (this == &other) return *this;
    if (other.m_heap == nullptr) {
        // Short texts fit any storage, so this never allocates.
        char* dst = m_heap ? m_heap : m_local;
        std::memcpy(dst, other.m_local, other.m_length + 1);
        m_length = other.m_length;
        m_null = other.m_null;
    } else {
        delete[] m_heap;
        m_heap = other.m_heap;
        m_length = other.m_length;
        m_capacity = other.m_capacity;
        m_null = other.m_null;
        other.m_heap = nullptr;
        other.m_capacity = kLocalCapacity;
    }
    other.m_length = 0;
    other.m_null = true;
    other.m_local[0] = '\0';
    return *this;
}

// Grows the storage to hold `size` bytes of text, keeping the current text.
// False when memory runs out; the string is then unchanged.
bool NqbString::reserve(unsigned size) {
    if (size <= m_capacity) return true;
    if (size > kMaxLength) return false;
    unsigned grown = m_capacity + m_capacity / 2;
    if (grown < size || grown > kMaxLength) grown = size;
    char* storage = new (std::nothrow) char[grown + 1];
    if (storage == nullptr) return false;
    std::memcpy(storage, m_heap ? m_heap : m_local, m_length + 1);
    delete[] m_heap;
    m_heap = storage;
    m_capacity = grown;
    return true;
}

// `bytes` may point into this string's own text: it is then no longer than the
// current capacity, so no reallocation happens before the copy.
void NqbString::setBytes(const char* bytes, unsigned count) {
    if (!reserve(count)) throw std::bad_alloc();
    char* dst = m_heap ? m_heap : m_local;
    if (count > 0) std::memmove(dst, bytes, count);
    dst[count] = '\0';
    m_length = count;
    m_null = false;
}

void NqbString::assign(const char* text) {
    if (text == nullptr) {
        setNull();
        return;
    }
    setBytes(text, static_cast<unsigned>(std::strlen(text)));
}

void NqbString::assign(const char* bytes, int count) {
    if (bytes == nullptr || count < 0) count = 0;
    setBytes(bytes, static_cast<unsigned>(count));
}

void NqbString::assign(int value) {
    char digits[16];
    const int n = std::snprintf(digits, sizeof digits, "%d", value);
    setBytes(digits, static_cast<unsigned>(n));
}

void NqbString::append(const NqbString& text, bool* failed) {
    if (&text == this) {
        // Reserving may move our own text; append from a copy of it.
        const NqbString copy(text);
        append(copy, failed);
        return;
    }
    if (text.m_null) {
        // Appending nothing still turns a null string into an empty one.
        append("", failed);
        return;
    }
    bool ok = m_length <= kMaxLength - text.m_length && reserve(m_length + text.m_length);
    if (ok) {
        char* dst = m_heap ? m_heap : m_local;
        std::memcpy(dst + m_length, text.asCstr(), text.m_length + 1);
        m_length += text.m_length;
        m_null = false;
    }
    if (failed != nullptr) *failed = !ok;
}

void NqbString::append(const char* text, bool* failed) {
    if (text == nullptr) text = "";
    const size_t count = std::strlen(text);
    const auto own = reinterpret_cast<std::uintptr_t>(m_heap ? m_heap : m_local);
    const auto at = reinterpret_cast<std::uintptr_t>(text);
    if (at >= own && at <= own + m_length) {
        append(NqbString(text), failed);
        return;
    }
    bool ok = count <= kMaxLength - m_length && reserve(m_length + static_cast<unsigned>(count));
    if (ok) {
        char* dst = m_heap ? m_heap : m_local;
        std::memcpy(dst + m_length, text, count + 1);
        m_length += static_cast<unsigned>(count);
        m_null = false;
    }
    if (failed != nullptr) *failed = !ok;
}

// Keeps the storage so that a later assign does not allocate again.
void NqbString::setNull() {
    m_null = true;
    m_length = 0;
    (m_heap ? m_heap : m_local)[0] = '\0';
}

int NqbString::compare(const NqbString& other, bool caseSensitive) const {
    return compareBytes(asCstr(), m_length, other.asCstr(), other.m_length, caseSensitive);
}

int NqbString::compare(const char* other, bool caseSensitive) const {
    if (other == nullptr) other = "";
    return compareBytes(asCstr(), m_length, other, static_cast<unsigned>(std::strlen(other)), caseSensitive);
}

int NqbString::find(const NqbString& what, int start) const {
    if (start < 0) start = 0;
    const unsigned from = static_cast<unsigned>(start);
    if (from > m_length || what.m_length > m_length - from) return -1;
    const char* text = asCstr();
    const char* needle = what.asCstr();
    const unsigned last = m_length - what.m_length;
    for (unsigned i = from; i <= last; ++i) {
        if (std::memcmp(text + i, needle, what.m_length) == 0) return static_cast<int>(i);
    }
    return -1;
}

NqbString NqbString::mid(unsigned start, int count) const {
    NqbString part;
    if (start >= m_length) {
        part.assign("");
        return part;
    }
    const unsigned available = m_length - start;
    const unsigned take =
        (count < 0 || static_cast<unsigned>(count) > available) ? available : static_cast<unsigned>(count);
    part.setBytes(asCstr() + start, take);
    return part;
}

void NqbString::truncate(unsigned n) {
    if (n >= m_length) return;
    m_length = n;
    (m_heap ? m_heap : m_local)[n] = '\0';
}

void NqbString::trim(bool leading, bool trailing) {
    if (m_null) return;
    char* text = m_heap ? m_heap : m_local;
    unsigned end = m_length;
    if (trailing) {
        while (end > 0 && isSpace(text[end - 1])) --end;
    }
    unsigned begin = 0;
    if (leading) {
        while (begin < end && isSpace(text[begin])) ++begin;
    }
    if (begin > 0) std::memmove(text, text + begin, end - begin);
    m_length = end - begin;
    text[m_length] = '\0';
}

double NqbString::asDouble(bool* ok) const {
    const char* text = asCstr();
    while (isSpace(*text)) ++text;
    const size_t span = scanDecimal(text);
    if (span == 0) {
        if (ok != nullptr) *ok = false;
        return std::nan("");
    }
    // strtod would also take hex digits after "0x"; parse only the decimal span.
    char small[64];
    const bool fits = span < sizeof small;
    NqbString copy;
    const char* number = small;
    if (fits) {
        std::memcpy(small, text, span);
        small[span] = '\0';
    } else {
        copy.assign(text, static_cast<int>(span));
        number = copy.asCstr();
    }
    errno = 0;
    const double value = strtod_l(number, nullptr, cLocale());
    const bool overflow = errno == ERANGE && std::isinf(value);
    const char* rest = text + span;
    while (isSpace(*rest)) ++rest;
    if (ok != nullptr) *ok = *rest == '\0' && !overflow;
    return value;
}
