// NqDom: loading a document from text or from a file.
#include <memory>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/Wrapper4InputSource.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "nqdommessages.h"
#include "nqdomxml/nqdomdata.h"
#include "nqdomxmlcopy.h"

using xercesc::DOMDocument;
using xercesc::DOMElement;
using xercesc::DOMException;
using xercesc::DOMImplementationLS;
using xercesc::DOMLSInput;
using xercesc::MemBufInputSource;
using xercesc::Wrapper4InputSource;
using xercesc::XMLPlatformUtils;

namespace {

const NqLoggingLevel kTrace = 1;
const NqLoggingLevel kFailure = 5;

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
    data->m_parser = data->m_implementation->createLSParser(DOMImplementationLS::MODE_SYNCHRONOUS, nullptr,
                                                            XMLPlatformUtils::fgMemoryManager, nullptr);
    const NqXmlCopy name(data->m_transcoder.fromNqb(NqbString("namespaces")));
    data->m_parser->getDomConfig()->setParameter(name.get(), false);
}

// Reads the string's own bytes, without a copy; `text` must outlive the input.
InputPtr makeInput(NqDomData* data, const NqbString& text) {
    std::unique_ptr<MemBufInputSource> source(new MemBufInputSource(
        reinterpret_cast<const XMLByte*>(text.asCstr()), static_cast<XMLSize_t>(text.cStrSize() - 1),
        data->m_transcoder.fromC("dummy"), false, XMLPlatformUtils::fgMemoryManager));
    InputPtr input(new Wrapper4InputSource(source.get(), true, XMLPlatformUtils::fgMemoryManager));
    source.release();
    return input;
}

// Errors in the text are not reported unless the parser throws: without an
// error handler it returns what it built, possibly without an element.
DOMElement* parse(NqDomData* data, const NqbString& text) {
    const InputPtr input = makeInput(data, text);
    const DOMDocument* document = data->m_parser->parse(input.get());
    return document ? document->getDocumentElement() : nullptr;
}

}  // namespace

bool NqDom::loadXML(const NqbString& xmlText) {
    NqDomData* data = m_data;
    data->m_logger->logEvent(kTrace, __FILE__, __LINE__, "enter loadXML with %d chars", xmlText.length());
    if (!data->m_initialised) {
        data->m_logger->logEvent(kFailure, __FILE__, __LINE__, "not initialized");
        return false;
    }
    // A document from startNewDocument stays with the representation.
    releaseParser(data);
    data->m_root = nullptr;
    data->m_errorMessage.assign("");
    try {
        createParser(data);
        data->m_root = parse(data, xmlText);
    } catch (const DOMException& e) {
        data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_PARSE_EXCEPTION, static_cast<int>(e.code));
        data->m_logger->logEvent(kFailure, __FILE__, __LINE__, "parse failure");
        releaseParser(data);
        return false;
    }
    data->m_logger->logEvent(kTrace, __FILE__, __LINE__, "exit loadXML");
    return true;
}

bool NqDom::loadFile(const NqbString& fileName) {
    NqDomData* data = m_data;
    data->m_logger->logEvent(kTrace, __FILE__, __LINE__, "enter loadFile %s", fileName.asCstr());
    NqbString readError;
    const NqbString content = nqDomReadFileToString(fileName, &readError);
    if (content.isNull()) {
        data->m_logger->logEvent(kFailure, __FILE__, __LINE__, "reading file %s", fileName.asCstr());
        data->m_errorMessage = readError;
        return false;
    }
    const bool loaded = loadXML(content);
    data->m_logger->logEvent(kTrace, __FILE__, __LINE__, "exit loadFile");
    return loaded;
}
