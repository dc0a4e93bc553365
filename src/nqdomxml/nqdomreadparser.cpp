#include "nqdomxml/nqdomreadparser.h"

#include <xercesc/framework/XMLAttr.hpp>
#include <xercesc/framework/XMLElementDecl.hpp>
#include <xercesc/internal/ElemStack.hpp>
#include <xercesc/internal/XMLScanner.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLEntityResolver.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/DTD/DTDElementDecl.hpp>

#include "nqdomxml/nqdommemorybudget.h"
#include "nqdomxml/nqdomresourceguard.h"

using xercesc::XMLUni;

namespace {

// Thrown from a handler to stop the parse; the reason is already recorded.
struct Stop {};

// UTF-16 to UTF-8, appended in place: the reader converts every name and
// text, and the engine's transcoder would want a terminated copy of each.
void appendUtf8(std::string& out, const XMLCh* text, std::size_t length) {
    std::size_t at = out.size();
    out.resize(at + 3 * length);
    char* p = &out[at];
    for (std::size_t i = 0; i < length; ++i) {
        char32_t c = text[i];
        if (c < 0x80) {
            *p++ = static_cast<char>(c);
        } else if (c < 0x800) {
            *p++ = static_cast<char>(0xC0 | (c >> 6));
            *p++ = static_cast<char>(0x80 | (c & 0x3F));
        } else {
            if (c >= 0xD800 && c < 0xDC00 && i + 1 < length && text[i + 1] >= 0xDC00 &&
                text[i + 1] < 0xE000) {
                c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
                *p++ = static_cast<char>(0xF0 | (c >> 18));
                *p++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            } else {
                // The engine lets no lone surrogate through; should one come, it is replaced.
                if (c >= 0xD800 && c < 0xE000) c = 0xFFFD;
                *p++ = static_cast<char>(0xE0 | (c >> 12));
            }
            *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            *p++ = static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    out.resize(static_cast<std::size_t>(p - out.data()));
}

void assignUtf8(std::string& out, const XMLCh* text) {
    out.clear();
    if (text) appendUtf8(out, text, xercesc::XMLString::stringLen(text));
}

bool isNamespaceDeclaration(const XMLCh* name) {
    static const XMLCh kXmlns[] = {'x', 'm', 'l', 'n', 's', 0};
    return xercesc::XMLString::startsWith(name, kXmlns) && (name[5] == 0 || name[5] == ':');
}

// The engine keeps the children of every open element in its element
// stack, for a validation it does not do here: under a root of millions of
// records that list alone grows past the rest of the reader. Nothing public
// reaches it, so the scanner is reached through the parser's member (an
// explicit instantiation may name it) and the stack through the scanner's.
struct ScannerMember {
    using type = xercesc::XMLScanner* xercesc::SAX2XMLReaderImpl::*;
    friend type scannerMember(ScannerMember);
};

template <class Tag, typename Tag::type Member>
struct Reach {
    friend typename Tag::type scannerMember(Tag) { return Member; }
};

template struct Reach<ScannerMember, &xercesc::SAX2XMLReaderImpl::fScanner>;

struct ElementStackMember : xercesc::XMLScanner {
    static xercesc::ElemStack xercesc::XMLScanner::*get() { return &ElementStackMember::fElemStack; }
};

}  // namespace

// The engine hands its position to the content handler only.
class NqReadParser::Locating : public xercesc::DefaultHandler {
public:
    explicit Locating(NqMemoryBudget* budget) : m_budget(budget) {}
    void setDocumentLocator(const xercesc::Locator* locator) override {
        m_locator = locator;
        if (m_budget) m_budget->watch(locator);
    }
    const xercesc::Locator* m_locator = nullptr;

private:
    NqMemoryBudget* m_budget;
};

// With a resolver in place the engine asks the parser about every external
// resource; this one leaves the reading to the engine.
class NqReadParser::Resolving : public xercesc::XMLEntityResolver {
public:
    xercesc::InputSource* resolveEntity(xercesc::XMLResourceIdentifier*) override { return nullptr; }
};

NqReadParser::NqReadParser(NqDomLoadPolicy policy, NqXMLTranscoder& transcoder, NqMemoryBudget* budget,
                           XMLSize_t expansions, std::size_t textLimit)
    : SAX2XMLReaderImpl(budget ? static_cast<xercesc::MemoryManager*>(budget)
                               : xercesc::XMLPlatformUtils::fgMemoryManager),
      m_policy(policy),
      m_transcoder(transcoder),
      m_budget(budget),
      m_manager(budget ? static_cast<xercesc::MemoryManager*>(budget)
                       : xercesc::XMLPlatformUtils::fgMemoryManager),
      m_textLimit(textLimit),
      m_locating(new Locating(budget)),
      m_resolving(new Resolving) {
    m_elements = &(this->*scannerMember(ScannerMember{})->*ElementStackMember::get());
    setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
    setFeature(XMLUni::fgSAX2CoreValidation, false);
    setContentHandler(m_locating);
    // Errors reach error() below only with a handler in place, and the
    // document type declaration doctypeDecl() only with a lexical one.
    setErrorHandler(m_locating);
    setLexicalHandler(m_locating);
    if (policy == NqDomLoadLenient) return;
    m_security.setEntityExpansionLimit(expansions);
    setProperty(XMLUni::fgXercesSecurityManager, &m_security);
    if (policy >= NqDomLoadSelfContained) setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    setXMLEntityResolver(m_resolving);
}

NqReadParser::~NqReadParser() {
    setContentHandler(nullptr);
    setErrorHandler(nullptr);
    setLexicalHandler(nullptr);
    setXMLEntityResolver(nullptr);
    delete m_locating;
    delete m_resolving;
}

bool NqReadParser::begin(const xercesc::InputSource& source) {
    m_markLine = 1;
    m_markColumn = 1;
    return guarded([&] { return parseFirst(source, m_token); });
}

bool NqReadParser::step() {
    if (m_ended || failed()) return false;
    // Where the next node starts: the engine has a reader until the parse is over.
    if (const xercesc::Locator* at = m_locating->m_locator) {
        m_markLine = at->getLineNumber();
        m_markColumn = at->getColumnNumber();
    }
    return guarded([&] { return parseNext(m_token); });
}

template <class Parse>
bool NqReadParser::guarded(Parse parse) {
    try {
        // Off again before any handler below runs: the engine's position
        // is only there while it parses.
        struct Parsing {
            bool& flag;
            ~Parsing() { flag = false; }
        } parsing{m_parsing = true};
        if (parse()) return true;
    } catch (const Stop&) {
        // Recorded already. The parser is not used again, so the engine's
        // reset is left to its destruction.
    } catch (const xercesc::OutOfMemoryException&) {
        // The parser is past repair; it is only destroyed from here on.
        NqMemoryBudget* over = m_budget && m_budget->exceeded() ? m_budget : nullptr;
        if (m_recordBudget && m_recordBudget->exceeded()) over = m_recordBudget;
        m_failure.reason = over ? nqbStringFormat("the document takes more than %zu MB of memory to read",
                                                  over->limit() >> 20)
                                : NqbString("out of memory");
        if (over) {
            m_failure.line = over == m_budget ? m_budget->line() : m_markLine;
            m_failure.column = over == m_budget ? m_budget->column() : m_markColumn;
        }
    } catch (const xercesc::XMLException& e) {
        fail(m_transcoder.toNqb(e.getMessage()));
    }
    // The engine reports a text cut short itself; this is a last resort.
    if (!m_ended) fail(NqbString("the text ends before the document does"));
    return false;
}

void NqReadParser::fail(const NqbString& reason) {
    if (failed()) return;
    m_failure.reason = reason;
    // Between engine calls the position is where the last node ended.
    const xercesc::Locator* at = m_locating->m_locator;
    if (!at || !m_parsing) {
        m_failure.line = m_markLine;
        m_failure.column = m_markColumn;
        return;
    }
    m_failure.uri = m_transcoder.toNqb(at->getSystemId());
    m_failure.line = at->getLineNumber();
    m_failure.column = at->getColumnNumber();
}

void NqReadParser::refuse(const NqbString& reason) {
    fail(reason);
    throw Stop();
}

void NqReadParser::moveMark() {
    const xercesc::Locator* at = m_locating->m_locator;
    m_markLine = at->getLineNumber();
    m_markColumn = at->getColumnNumber();
}

NqReadEvent& NqReadParser::push(NqDomReadKind kind, int depth) {
    if (m_count == m_events.size()) m_events.emplace_back();
    NqReadEvent& event = m_events[m_count++];
    event.kind = kind;
    event.depth = depth;
    event.line = static_cast<int>(m_markLine);
    event.column = static_cast<int>(m_markColumn);
    event.cdata = false;
    event.attributeCount = 0;
    return event;
}

void NqReadParser::checkText(std::size_t length) {
    if (m_policy == NqDomLoadLenient || length <= m_textLimit) return;
    refuse(nqbStringFormat("a text takes more than %zu MB once its entity references are expanded",
                           m_textLimit >> 20));
}

void NqReadParser::skipTo(int depth) {
    m_skipDepth = depth;
}

void NqReadParser::buildInto(NqRecordBuilder* builder, int depth, NqMemoryBudget* budget) {
    m_builder = builder;
    m_recordBudget = budget;
    m_buildDepth = depth;
    for (auto scoped = m_scope.rbegin(); scoped != m_scope.rend(); ++scoped) {
        if (scoped->depth < depth) builder->declare(scoped->name.c_str(), scoped->value.c_str());
    }
}

void NqReadParser::docCharacters(const XMLCh* chars, XMLSize_t length, bool cdataSection) {
    if (m_builder) {
        checkText(m_builder->pendingText() + length);
        m_builder->text(chars, length, cdataSection);
    } else if (!skipping()) {
        NqReadEvent* last = m_count > m_head ? &m_events[m_count - 1] : nullptr;
        if (cdataSection || !last || last->kind != NqDomReadText || last->cdata) {
            last = &push(NqDomReadText, m_depth);
            last->cdata = cdataSection;
            last->value.clear();
        }
        checkText(last->value.size() + length);
        appendUtf8(last->value, chars, length);
    }
    moveMark();
}

void NqReadParser::docComment(const XMLCh* comment) {
    if (m_builder) {
        m_builder->comment(comment);
    } else if (!skipping()) {
        assignUtf8(push(NqDomReadComment, m_depth).value, comment);
    }
    moveMark();
}

void NqReadParser::docPI(const XMLCh* target, const XMLCh* data) {
    if (m_builder) {
        m_builder->processingInstruction(target, data);
    } else if (!skipping()) {
        NqReadEvent& event = push(NqDomReadProcessingInstruction, m_depth);
        assignUtf8(event.name, target);
        assignUtf8(event.value, data);
    }
    moveMark();
}

void NqReadParser::endDocument() {
    m_ended = true;
    push(NqDomReadEnd, 0);
    SAX2XMLReaderImpl::endDocument();
}

void NqReadParser::startElement(const xercesc::XMLElementDecl& element, unsigned int, const XMLCh*,
                                const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, XMLSize_t count,
                                bool isEmpty, bool isRoot) {
    if (m_policy == NqDomLoadUntrusted && m_depth >= nqDomUntrustedDepthLimit)
        refuse(nqbStringFormat("elements nested deeper than %d levels", nqDomUntrustedDepthLimit));
    const int depth = m_depth++;
    if (m_builder) {
        m_builder->startElement(element.getFullName(), attributes, count);
    } else if (!skipping()) {
        queueStart(element, attributes, count, depth);
    }
    // The engine leaves ending an empty element to the parser.
    if (isEmpty) endElement(element, 0, isRoot, nullptr);
    forgetChildren();
    moveMark();
}

void NqReadParser::queueStart(const xercesc::XMLElementDecl& element,
                              const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, XMLSize_t count,
                              int depth) {
    NqReadEvent& event = push(NqDomReadElementStart, depth);
    assignUtf8(event.name, element.getFullName());
    if (event.attributes.size() < count) event.attributes.resize(count);
    for (XMLSize_t i = 0; i < count; ++i) {
        const xercesc::XMLAttr* attribute = attributes.elementAt(i);
        NqReadAttribute& out = event.attributes[i];
        assignUtf8(out.name, attribute->getQName());
        assignUtf8(out.value, attribute->getValue());
        if (isNamespaceDeclaration(attribute->getQName()))
            m_scope.push_back({depth, attribute->getQName(), attribute->getValue()});
    }
    event.attributeCount = static_cast<int>(count);
}

void NqReadParser::forgetChildren() {
    if (m_elements->isEmpty()) return;
    const_cast<xercesc::ElemStack::StackElem*>(m_elements->topElement())->fChildCount = 0;
}

void NqReadParser::endElement(const xercesc::XMLElementDecl& element, unsigned int, bool, const XMLCh*) {
    forgetChildren();
    endElementAt(--m_depth, element.getFullName());
    moveMark();
}

void NqReadParser::endElementAt(int depth, const XMLCh* name) {
    while (!m_scope.empty() && m_scope.back().depth >= depth) m_scope.pop_back();
    if (m_builder) {
        m_builder->endElement();
        if (depth != m_buildDepth) return;
        m_builder = nullptr;
        m_recordBudget = nullptr;
    } else if (skipping()) {
        if (depth != m_skipDepth) return;
        m_skipDepth = -1;
    }
    assignUtf8(push(NqDomReadElementEnd, depth).name, name);
}

void NqReadParser::doctypeDecl(const xercesc::DTDElementDecl& element, const XMLCh* publicId,
                               const XMLCh* systemId, bool hasIntSubset, bool hasExtSubset) {
    const NqbString refused = nqDomDoctypeRefusal(m_policy, publicId, systemId, hasIntSubset);
    if (!refused.isNull()) refuse(refused);
    NqReadEvent& event = push(NqDomReadDocumentType, 0);
    assignUtf8(event.name, element.getFullName());
    assignUtf8(event.publicId, publicId);
    assignUtf8(event.systemId, systemId);
    moveMark();
    SAX2XMLReaderImpl::doctypeDecl(element, publicId, systemId, hasIntSubset, hasExtSubset);
}

void NqReadParser::XMLDecl(const XMLCh* version, const XMLCh* encoding, const XMLCh* standalone,
                           const XMLCh* actualEncoding) {
    SAX2XMLReaderImpl::XMLDecl(version, encoding, standalone, actualEncoding);
    moveMark();
}

void NqReadParser::endIntSubset() {
    SAX2XMLReaderImpl::endIntSubset();
    moveMark();
}

// The first error stops the parse: the engine stops at a fatal one itself.
void NqReadParser::error(unsigned int, const XMLCh*, xercesc::XMLErrorReporter::ErrTypes type,
                         const XMLCh* text, const XMLCh* systemId, const XMLCh*, XMLFileLoc line,
                         XMLFileLoc column) {
    if (type == xercesc::XMLErrorReporter::ErrType_Warning) return;
    m_failure.record(m_transcoder.toNqb(text), m_transcoder.toNqb(systemId), line, column);
    if (type != xercesc::XMLErrorReporter::ErrType_Fatal) throw Stop();
}

xercesc::InputSource* NqReadParser::resolveEntity(xercesc::XMLResourceIdentifier* resource) {
    NqbString why;
    xercesc::InputSource* source =
        nqDomGuardResource(m_policy, *resource, m_transcoder, m_catalog, m_manager, &why);
    if (!why.isNull()) m_failure.pending = why;
    return source ? source : SAX2XMLReaderImpl::resolveEntity(resource);
}
