/// \file
/// UTF-8 <-> UTF-16 conversion for the XML engine, with owned, growing buffers.
#ifndef NQXMLTRANSCODER_H
#define NQXMLTRANSCODER_H

#include <cstdint>

#include <xercesc/util/XercesDefs.hpp>

#include "nqdomexport.h"
#include "nqxbase.h"

XERCES_CPP_NAMESPACE_BEGIN
class XMLTranscoder;
XERCES_CPP_NAMESPACE_END

/// Converts text between the library's UTF-8 and the XML engine's UTF-16.
/// Node handles carry one; hosts need it only to talk to the engine directly.
/// Not copyable.
class NQDOM_API NqXMLTranscoder {
public:
    /// Touches no engine state; buffers and the engine transcoder come on first use.
    NqXMLTranscoder();
    /// Frees the buffers and the engine transcoder.
    ~NqXMLTranscoder();
    NqXMLTranscoder(const NqXMLTranscoder&) = delete;
    NqXMLTranscoder& operator=(const NqXMLTranscoder&) = delete;

    /// The NUL-terminated UTF-16 `text` (null: empty) as UTF-8; a null string
    /// when no engine transcoder can be made.
    NqbString toNqb(const XMLCh* text);
    /// The same conversion into `out`, reusing its storage: no allocation
    /// when the text fits what `out` already holds.
    void toNqb(const XMLCh* text, NqbString& out);
    /// `text` as NUL-terminated UTF-16 in the transcoder's own buffer, valid
    /// until the next fromNqb/fromC call. Text that is not valid UTF-8 gives
    /// "!INVALIDUTF8STR!". Null when no engine transcoder can be made.
    XMLCh* fromNqb(const NqbString& text);
    /// The same for a NUL-terminated UTF-8 string; text that is not valid
    /// UTF-8 raises the engine's transcoding exception.
    XMLCh* fromC(const char* text);

    /// Current size of the UTF-8 buffer in bytes.
    std::uint32_t utf8Size() const { return m_utf8Size; }
    /// Current size of the UTF-16 buffer in units.
    std::uint32_t utf16Capacity() const { return m_utf16Capacity; }

private:
    bool makeTranscoder();
    void growUtf8();
    void growUtf16();
    /// Fills m_utf16Buffer from `count` UTF-8 bytes, growing it as needed. Text
    /// that is not valid UTF-8 sets *malformed, or raises when it is null.
    void decode(const char* bytes, std::uint32_t count, bool* malformed);
    /// One engine call into the current buffers; the bytes eaten. With `failed`
    /// given, any exception is caught and reported there.
    std::uint32_t transcodeFrom(const char* bytes, std::uint32_t count, bool* failed);

    XMLByte* m_utf8Buffer;
    std::uint32_t m_utf8Size;
    XMLCh* m_utf16Buffer;
    std::uint32_t m_utf16Capacity;
    XERCES_CPP_NAMESPACE::XMLTranscoder* m_xercesTranscoder;
    unsigned char* m_charSizes;
};

#endif
