// NqDom: loading a document from text or from a file.
#include <climits>
#include <cstring>
#include <memory>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/Wrapper4InputSource.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "nqdommessages.h"
#include "nqdomxhelper/nqdomreadbytes.h"
#include "nqdomxml/nqdomdata.h"
#include "nqdomxml/nqdomguardedparser.h"
#include "nqdomxml/nqdomlsparser.h"
#include "nqdomxml/nqdomrefusal.h"
#include "nqdomxmlcopy.h"

using xercesc::DOMDocument;
using xercesc::DOMElement;
using xercesc::DOMException;
using xercesc::DOMImplementationLS;
using xercesc::DOMLSInput;
using xercesc::MemBufInputSource;
using xercesc::OutOfMemoryException;
using xercesc::Wrapper4InputSource;
using xercesc::XMLException;
using xercesc::XMLPlatformUtils;

namespace {

const NqLoggingLevel kTrace = 1;
const NqLoggingLevel kFailure = 5;
// Names a text that came from no file.
const char kTextId[] = "dummy";

struct InputRelease {
    void operator()(DOMLSInput* input) const { input->release(); }
};
using InputPtr = std::unique_ptr<DOMLSInput, InputRelease>;

void releaseParser(NqDomData* data) {
    if (!data->m_parser) return;
    data->m_parser->release();
    data->m_parser = nullptr;
}

// A fresh parser that keeps names as written: prefixes stay part of the name
// and namespace declarations stay plain attributes.
void createParser(NqDomData* data) {
    data->m_parser = new NqDomLSParser(XMLPlatformUtils::fgMemoryManager);
    const NqXmlCopy name(data->m_transcoder.fromNqb(NqbString("namespaces")));
    data->m_parser->getDomConfig()->setParameter(name.get(), false);
}

// Reads the string's own bytes, without a copy; `text` must outlive the input.
// The system identifier names the text in messages and is the base of
// relative references in it.
InputPtr makeInput(NqDomData* data, const NqbString& text, const NqbString& systemId) {
    std::unique_ptr<MemBufInputSource> source(new MemBufInputSource(
        reinterpret_cast<const XMLByte*>(text.asCstr()), static_cast<XMLSize_t>(text.cStrSize() - 1),
        data->m_transcoder.fromNqb(systemId), false, XMLPlatformUtils::fgMemoryManager));
    InputPtr input(new Wrapper4InputSource(source.get(), true, XMLPlatformUtils::fgMemoryManager));
    source.release();
    return input;
}

// Errors in the text are not reported unless the parser throws: without an
// error handler it returns what it built, possibly without an element.
DOMElement* parse(NqDomData* data, const NqbString& text, const NqbString& systemId) {
    const InputPtr input = makeInput(data, text, systemId);
    const DOMDocument* document = data->m_parser->parse(input.get());
    return document ? document->getDocumentElement() : nullptr;
}

bool loadLenient(NqDomData* data, const NqbString& text) {
    try {
        createParser(data);
        data->m_root = parse(data, text, NqbString(kTextId));
    } catch (const DOMException& e) {
        data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_PARSE_EXCEPTION, static_cast<int>(e.code));
        return false;
    }
    return true;
}

// Engine memory a bounded load may take: what a real document of this size
// needs, far less than entities that expand without end would take.
std::size_t budgetFor(const NqbString& text) {
    const std::size_t kFloor = std::size_t(16) << 20;
    const std::size_t kPerByte = 32;
    return kFloor + kPerByte * static_cast<std::size_t>(text.length());
}

// Entity references a bounded load may expand: a real document writes each
// one out (at least three bytes), while nested entities that multiply
// (700 bytes that expand ten million times) reach the limit at once. Each
// expansion costs the engine a thrown exception, so the floor is kept low.
XMLSize_t expansionsFor(const NqbString& text) {
    return 10000 + static_cast<XMLSize_t>(text.length()) / 4;
}

NqbString budgetRefusal(const NqMemoryBudget& budget, const NqbString& systemId, bool fromFile) {
    const NqbString reason =
        nqbStringFormat("the document takes more than %zu MB of memory to load", budget.limit() >> 20);
    return nqDomRefusal(systemId, fromFile, NqbString(), budget.line(), budget.column(), reason);
}

// Why UTF-16 text failed, where the engine's own message would be about
// markup: in a string it ends at its first 0 byte, and without a byte order
// mark the engine reads it as UTF-8. Null for other texts.
NqbString utf16Problem(const NqbString& text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.asCstr());
    const std::size_t length = static_cast<std::size_t>(text.length());
    if (length < 2) return NqbString();
    const bool mark = (bytes[0] == 0xFF && bytes[1] == 0xFE) || (bytes[0] == 0xFE && bytes[1] == 0xFF);
    if (mark && !std::memchr(bytes, 0, length))
        return NqbString(
            "the text starts with a UTF-16 byte order mark but holds no 0 byte: a UTF-16 string ends at its "
            "first 0 byte, so convert the text to UTF-8, or load its file with loadFile under a bounded "
            "policy");
    if (!mark && (bytes[0] == 0 || bytes[1] == 0))
        return NqbString(
            "the text starts with a 0 byte, as UTF-16 without a byte order mark does: the encoding of such a "
            "text is read from its byte order mark, so start it with one or convert it to UTF-8");
    return NqbString();
}

// Runs the guarded parser; any error, refusal or engine exception fails.
bool loadGuarded(NqDomData* data, const NqbString& text, const NqbString& systemId, bool fromFile) {
    data->m_budget.reset(new NqMemoryBudget(budgetFor(text)));
    NqMemoryBudget& budget = *data->m_budget;
    try {
        NqGuardedParser* parser = new NqGuardedParser(data->m_loadPolicy, data->m_transcoder, &budget,
                                                      expansionsFor(text), data->m_skipExternalDtd);
        data->m_parser = parser;
        budget.watch(parser->locator());
        DOMElement* root = parse(data, text, systemId);
        const NqParseFailure& failure = parser->failure();
        if (failure.failed()) {
            const NqbString utf16 = utf16Problem(text);
            data->m_errorMessage = nqDomRefusal(systemId, fromFile, failure.uri, failure.line, failure.column,
                                                utf16.isNull() ? failure.reason : utf16);
            return false;
        }
        budget.lift();
        data->m_root = root;
        return true;
    } catch (const OutOfMemoryException&) {
        data->m_errorMessage = budget.exceeded() ? budgetRefusal(budget, systemId, fromFile)
                                                 : NQ_LIBXML_MESSAGE(NQ_MSG_NO_MEMORY);
    } catch (const DOMException& e) {
        data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_PARSE_EXCEPTION, static_cast<int>(e.code));
    } catch (const XMLException& e) {
        data->m_errorMessage =
            nqDomRefusal(systemId, fromFile, NqbString(), 0, 0, data->m_transcoder.toNqb(e.getMessage()));
    }
    return false;
}

// The text's length must fit the engine's and the string's counts.
bool tooLarge(const NqbString& text) {
    return text.length() < 0 || text.length() == INT_MAX;
}

// `fileName` is the file the text came from, or null for a text.
bool load(NqDomData* data, const NqbString& text, const NqbString* fileName) {
    data->m_logger->logEvent(kTrace, __FILE__, __LINE__, "enter loadXML with %d chars", text.length());
    if (!data->m_initialised) {
        data->m_logger->logEvent(kFailure, __FILE__, __LINE__, "not initialized");
        return false;
    }
    // A document from startNewDocument stays with the representation.
    releaseParser(data);
    data->m_root = nullptr;
    data->m_errorMessage.assign("");
    bool loaded = false;
    if (tooLarge(text)) {
        data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_TEXT_TOO_LARGE);
    } else if (data->m_loadPolicy == NqDomLoadLenient) {
        loaded = loadLenient(data, text);
    } else {
        loaded = loadGuarded(data, text, fileName ? *fileName : NqbString(kTextId), fileName != nullptr);
    }
    if (!loaded) {
        data->m_logger->logEvent(kFailure, __FILE__, __LINE__, "parse failure");
        releaseParser(data);
        return false;
    }
    data->m_logger->logEvent(kTrace, __FILE__, __LINE__, "exit loadXML");
    return true;
}

}  // namespace

bool NqDom::loadXML(const NqbString& xmlText) {
    return load(m_data, xmlText, nullptr);
}

// Under the bounded policies the file's bytes are read whole, so a UTF-16
// file loads and a 0 byte is an error with its place.
bool NqDom::loadFile(const NqbString& fileName) {
    NqDomData* data = m_data;
    data->m_logger->logEvent(kTrace, __FILE__, __LINE__, "enter loadFile %s", fileName.asCstr());
    NqbString readError;
    const bool whole = data->m_loadPolicy != NqDomLoadLenient;
    const NqbString content =
        whole ? nqDomReadFileBytes(fileName, &readError) : nqDomReadFileToString(fileName, &readError);
    if (content.isNull()) {
        data->m_logger->logEvent(kFailure, __FILE__, __LINE__, "reading file %s", fileName.asCstr());
        data->m_errorMessage = readError;
        return false;
    }
    const bool loaded = load(data, content, whole ? &fileName : nullptr);
    data->m_logger->logEvent(kTrace, __FILE__, __LINE__, "exit loadFile");
    return loaded;
}
