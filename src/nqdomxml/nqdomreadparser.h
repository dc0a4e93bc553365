// The engine's progressive parser turned into a queue of nodes for the pull
// reader: one engine step at a time, each node converted to UTF-8, or built
// straight into a record document, or passed over.
#ifndef NQDOMREADPARSER_H
#define NQDOMREADPARSER_H

#include <cstddef>
#include <string>
#include <vector>

#include <xercesc/framework/XMLPScanToken.hpp>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/util/SecurityManager.hpp>

#include "nqdom.h"
#include "nqdomxml/nqdomcatalog.h"
#include "nqdomxml/nqdomrecordbuilder.h"
#include "nqdomxml/nqdomrefusal.h"

class NqMemoryBudget;
XERCES_CPP_NAMESPACE_BEGIN
class ElemStack;
XERCES_CPP_NAMESPACE_END

struct NqReadAttribute {
    std::string name;
    std::string value;
};

// One node as the reader hands it out. Strings keep their storage when the
// slot is reused.
struct NqReadEvent {
    NqDomReadKind kind = NqDomReadNone;
    int depth = 0;
    int line = 0;
    int column = 0;
    bool cdata = false;
    std::string name;
    std::string value;
    std::string publicId;
    std::string systemId;
    std::vector<NqReadAttribute> attributes;
    int attributeCount = 0;
};

class NqReadParser : public xercesc::SAX2XMLReaderImpl {
public:
    // `budget` (null under Lenient) holds the engine's memory; `expansions`
    // and `textLimit` bound what entity references may expand to.
    NqReadParser(NqDomLoadPolicy policy, NqXMLTranscoder& transcoder, NqMemoryBudget* budget,
                 XMLSize_t expansions, std::size_t textLimit);
    ~NqReadParser() override;

    // Starts on `source`, which must outlive the parse; false when it ends at once.
    bool begin(const xercesc::InputSource& source);
    // One engine step; false when the parse is over, at its end or failed.
    bool step();
    bool ended() const { return m_ended; }
    bool failed() const { return m_failure.failed(); }
    const NqParseFailure& failure() const { return m_failure; }
    // Records `reason` as the failure at the current position unless one is
    // already recorded.
    void fail(const NqbString& reason);

    // The queue: events [m_head, m_count) wait, the one at m_head is current.
    std::vector<NqReadEvent> m_events;
    std::size_t m_head = 0;
    std::size_t m_count = 0;

    // Passes over everything until the end of the element at `depth` is
    // queued.
    void skipTo(int depth);
    bool skipping() const { return m_skipDepth >= 0; }
    // Builds what follows into `builder` until the end of its root at
    // `depth` is queued; the namespace declarations in scope around it go
    // onto its root. `budget`, when not null, holds the record's memory.
    void buildInto(NqRecordBuilder* builder, int depth, NqMemoryBudget* budget);
    bool building() const { return m_builder != nullptr; }

    void docCharacters(const XMLCh* chars, XMLSize_t length, bool cdataSection) override;
    void docComment(const XMLCh* comment) override;
    void docPI(const XMLCh* target, const XMLCh* data) override;
    void endDocument() override;
    void startElement(const xercesc::XMLElementDecl& element, unsigned int urlId, const XMLCh* prefix,
                      const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, XMLSize_t count, bool isEmpty,
                      bool isRoot) override;
    void endElement(const xercesc::XMLElementDecl& element, unsigned int urlId, bool isRoot,
                    const XMLCh* prefix) override;
    void doctypeDecl(const xercesc::DTDElementDecl& element, const XMLCh* publicId, const XMLCh* systemId,
                     bool hasIntSubset, bool hasExtSubset) override;
    // The prolog's markup that gives no node still moves the start of the next.
    void XMLDecl(const XMLCh* version, const XMLCh* encoding, const XMLCh* standalone,
                 const XMLCh* actualEncoding) override;
    void endIntSubset() override;
    void error(unsigned int code, const XMLCh* domain, xercesc::XMLErrorReporter::ErrTypes type,
               const XMLCh* text, const XMLCh* systemId, const XMLCh* publicId, XMLFileLoc line,
               XMLFileLoc column) override;
    xercesc::InputSource* resolveEntity(xercesc::XMLResourceIdentifier* resource) override;

private:
    class Locating;
    class Resolving;
    struct Scoped {
        int depth;
        std::u16string name;
        std::u16string value;
    };

    // Runs one engine call, turning every way it stops into the end or a failure.
    template <class Parse>
    bool guarded(Parse parse);
    NqReadEvent& push(NqDomReadKind kind, int depth);
    void moveMark();
    [[noreturn]] void refuse(const NqbString& reason);
    void checkText(std::size_t length);
    // Empties the child list the engine keeps for the innermost open element.
    void forgetChildren();
    void endElementAt(int depth, const XMLCh* name);
    void queueStart(const xercesc::XMLElementDecl& element,
                    const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, XMLSize_t count, int depth);

    NqDomLoadPolicy m_policy;
    NqXMLTranscoder& m_transcoder;
    NqMemoryBudget* m_budget;
    xercesc::MemoryManager* m_manager;
    std::size_t m_textLimit;
    xercesc::SecurityManager m_security;
    xercesc::ElemStack* m_elements;
    Locating* m_locating;
    Resolving* m_resolving;
    xercesc::XMLPScanToken m_token;
    int m_depth = 0;
    int m_skipDepth = -1;
    NqRecordBuilder* m_builder = nullptr;
    int m_buildDepth = 0;
    NqMemoryBudget* m_recordBudget = nullptr;
    std::vector<Scoped> m_scope;
    XMLFileLoc m_markLine = 0;
    XMLFileLoc m_markColumn = 0;
    bool m_ended = false;
    bool m_parsing = false;
    NqCatalog m_catalog;
    NqParseFailure m_failure;
};

#endif
