// UTF-8 <-> UTF-16 through the engine's "utf8" transcoder, into buffers that
// double when too small and are kept for later calls.
#include "nqxmltranscoder.h"

#include <cstring>

#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/TransService.hpp>
#include <xercesc/util/TranscodingException.hpp>
#include <xercesc/util/XMLString.hpp>

XERCES_CPP_NAMESPACE_USE

namespace {

const std::uint32_t kInitialSize = 256;
const XMLSize_t kEngineBlockSize = 256;
// Given to the caller in place of a text that is not valid UTF-8.
const char kInvalidUtf8Marker[] = "!INVALIDUTF8STR!";
const XMLCh kEmptyText[] = {0};

}  // namespace

NqXMLTranscoder::NqXMLTranscoder()
    : m_utf8Buffer(nullptr),
      m_utf8Size(kInitialSize),
      m_utf16Buffer(nullptr),
      m_utf16Capacity(kInitialSize),
      m_xercesTranscoder(nullptr),
      m_charSizes(nullptr) {}

NqXMLTranscoder::~NqXMLTranscoder() {
    delete m_xercesTranscoder;
    delete[] m_utf8Buffer;
    delete[] m_utf16Buffer;
    delete[] m_charSizes;
}

bool NqXMLTranscoder::makeTranscoder() {
    if (m_xercesTranscoder != nullptr) return true;
    XMLTransService::Codes resultCode = XMLTransService::Ok;
    m_xercesTranscoder = XMLPlatformUtils::fgTransService->makeNewTranscoderFor(
        "utf8", resultCode, kEngineBlockSize, XMLPlatformUtils::fgMemoryManager);
    return m_xercesTranscoder != nullptr && resultCode == XMLTransService::Ok;
}

// Buffers are dropped and left null, then allocated at the new size by the
// next attempt, so a failed allocation leaves nothing dangling.
void NqXMLTranscoder::growUtf8() {
    delete[] m_utf8Buffer;
    m_utf8Buffer = nullptr;
    m_utf8Size *= 2;
}

void NqXMLTranscoder::growUtf16() {
    delete[] m_utf16Buffer;
    m_utf16Buffer = nullptr;
    delete[] m_charSizes;
    m_charSizes = nullptr;
    m_utf16Capacity *= 2;
}

NqbString NqXMLTranscoder::toNqb(const XMLCh* text) {
    NqbString result;
    toNqb(text, result);
    return result;
}

void NqXMLTranscoder::toNqb(const XMLCh* text, NqbString& out) {
    if (!makeTranscoder()) {
        out.setNull();
        return;
    }
    if (text == nullptr) text = kEmptyText;
    const XMLSize_t length = XMLString::stringLen(text);
    // The engine pairs a trailing high surrogate with whatever follows it, so
    // such a text is converted with its terminator. Any other text leaves one
    // byte for the terminator instead, so the buffer grows exactly when the
    // text and its terminator would not fit.
    const bool withTerminator = length > 0 && text[length - 1] >= 0xD800 && text[length - 1] <= 0xDBFF;
    const XMLSize_t count = withTerminator ? length + 1 : length;
    const std::uint32_t reserved = withTerminator ? 0 : 1;
    XMLSize_t produced = 0;
    for (;;) {
        if (m_utf8Buffer == nullptr) m_utf8Buffer = new XMLByte[m_utf8Size];
        XMLSize_t eaten = 0;
        produced = m_xercesTranscoder->transcodeTo(text, count, m_utf8Buffer, m_utf8Size - reserved, eaten,
                                                   XMLTranscoder::UnRep_RepChar);
        if (eaten == count) break;
        growUtf8();
    }
    // A terminator taken as the surrogate's partner ends nothing.
    const char* bytes = reinterpret_cast<const char*>(m_utf8Buffer);
    if (withTerminator && produced > 0 && bytes[produced - 1] == '\0') --produced;
    out.assign(bytes, static_cast<int>(produced));
}

std::uint32_t NqXMLTranscoder::transcodeFrom(const char* bytes, std::uint32_t count, bool* failed) {
    XMLSize_t eaten = 0;
    const XMLByte* source = reinterpret_cast<const XMLByte*>(bytes);
    if (failed == nullptr) {
        m_xercesTranscoder->transcodeFrom(source, count, m_utf16Buffer, m_utf16Capacity, eaten, m_charSizes);
        return static_cast<std::uint32_t>(eaten);
    }
    try {
        m_xercesTranscoder->transcodeFrom(source, count, m_utf16Buffer, m_utf16Capacity, eaten, m_charSizes);
    } catch (...) {
        *failed = true;
    }
    return static_cast<std::uint32_t>(eaten);
}

void NqXMLTranscoder::decode(const char* bytes, std::uint32_t count, bool* malformed) {
    for (;;) {
        if (m_utf16Buffer == nullptr) m_utf16Buffer = new XMLCh[m_utf16Capacity];
        if (m_charSizes == nullptr) m_charSizes = new unsigned char[m_utf16Capacity];
        const std::uint32_t eaten = transcodeFrom(bytes, count, malformed);
        if (malformed != nullptr && *malformed) return;
        if (eaten == count) return;
        // UTF-8 never needs more UTF-16 units than it has bytes, so with this
        // much room the engine stopped at a sequence it could not finish.
        if (m_utf16Capacity >= count) {
            if (malformed == nullptr)
                ThrowXMLwithMemMgr(TranscodingException, XMLExcepts::Trans_BadSrcSeq,
                                   XMLPlatformUtils::fgMemoryManager);
            *malformed = true;
            return;
        }
        growUtf16();
    }
}

XMLCh* NqXMLTranscoder::fromNqb(const NqbString& text) {
    if (!makeTranscoder()) return nullptr;
    bool malformed = false;
    decode(text.asCstr(), static_cast<std::uint32_t>(text.cStrSize()), &malformed);
    if (!malformed) return m_utf16Buffer;
    // Plain ASCII, and the buffer holds at least 256 units: one call does it.
    transcodeFrom(kInvalidUtf8Marker, sizeof kInvalidUtf8Marker, nullptr);
    return m_utf16Buffer;
}

XMLCh* NqXMLTranscoder::fromC(const char* text) {
    if (!makeTranscoder()) return nullptr;
    if (text == nullptr) text = "";
    decode(text, static_cast<std::uint32_t>(std::strlen(text) + 1), nullptr);
    return m_utf16Buffer;
}
