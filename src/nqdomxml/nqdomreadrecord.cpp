// NqDomReader::expand: the current element, with everything inside it, as
// the document of an NqDom.
#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "nqdomxml/nqdomdata.h"
#include "nqdomxml/nqdomreaderstate.h"
#include "nqdomxml/nqdomrecordbuilder.h"
#include "nqdomxmlcopy.h"

using xercesc::DOMDocument;
using xercesc::DOMElement;
using xercesc::DOMNode;

namespace {

// Marks a document as a record's, holding its memory in the handle's budget.
const XMLCh kRecordKey[] = {'n', 'q', '-', 'r', 'e', 'c', 'o', 'r', 'd', 0};
// A record document is used again for the next record until its memory
// (texts are never given back before the document goes) passes this.
const std::size_t kReuseBelow = std::size_t(4) << 20;
// What a record may take under the bounded policies.
const std::size_t kRecordLimit = std::size_t(64) << 20;

void releaseDocuments(NqDomData* data) {
    if (data->m_parser) data->m_parser->release();
    if (data->m_document) data->m_document->release();
    data->m_parser = nullptr;
    data->m_document = nullptr;
    data->m_root = nullptr;
}

bool reusable(const NqDomData* data) {
    const DOMDocument* document = data->m_document;
    return !data->m_parser && document && data->m_budget &&
           document->getUserData(kRecordKey) == data->m_budget.get() && data->m_budget->inUse() < kReuseBelow;
}

// An empty document for the next record, its memory in data->m_budget.
DOMDocument* recordDocument(NqDomData* data, bool bounded) {
    if (reusable(data)) {
        DOMDocument* document = data->m_document;
        data->m_root = nullptr;
        while (DOMNode* child = document->getFirstChild()) document->removeChild(child)->release();
    } else {
        releaseDocuments(data);
        data->m_budget.reset(new NqMemoryBudget(static_cast<std::size_t>(-1)));
        data->m_document = data->m_implementation->createDocument(data->m_budget.get());
        data->m_document->setUserData(kRecordKey, data->m_budget.get(), nullptr);
    }
    if (bounded) data->m_budget->limitFurther(kRecordLimit);
    return data->m_document;
}

// The root, made from the current start event.
DOMElement* recordRoot(DOMDocument* document, const NqReadEvent& start, NqXMLTranscoder& transcoder) {
    DOMElement* root = document->createElement(transcoder.fromC(start.name.c_str()));
    for (int i = 0; i < start.attributeCount; ++i) {
        const NqReadAttribute& attribute = start.attributes[static_cast<std::size_t>(i)];
        const NqXmlCopy name(transcoder.fromC(attribute.name.c_str()));
        root->setAttribute(name.get(), transcoder.fromC(attribute.value.c_str()));
    }
    document->appendChild(root);
    return root;
}

}  // namespace

bool NqDomReader::expand(NqDom& record) {
    NqDomReaderState& state = *m_state;
    NqDomData* data = record.m_data;
    if (state.kind != NqDomReadElementStart || !data->m_initialised) return false;
    const bool bounded = state.policy != NqDomLoadLenient;
    NqReadParser& parser = *state.parser;
    const NqReadEvent& start = *state.current;
    const int depth = start.depth;
    try {
        DOMDocument* document = recordDocument(data, bounded);
        NqRecordBuilder builder(document, recordRoot(document, start, state.transcoder));
        const bool empty = parser.m_count > parser.m_head + 1 &&
                           parser.m_events[parser.m_head + 1].kind == NqDomReadElementEnd;
        if (empty) {
            ++parser.m_head;
        } else {
            parser.m_head = parser.m_count = 0;
            parser.buildInto(&builder, depth, bounded ? data->m_budget.get() : nullptr);
        }
        if (state.fill() == NqDomReadElementEnd) {
            data->m_budget->lift();
            data->m_root = document->getDocumentElement();
            data->m_errorMessage.assign("");
            return true;
        }
    } catch (const xercesc::OutOfMemoryException&) {
        parser.fail(NqbString("a record takes more memory than there is"));
        state.fill();
    } catch (const xercesc::DOMException&) {
        parser.fail(NqbString("the record cannot be built"));
        state.fill();
    }
    releaseDocuments(data);
    data->m_budget.reset();
    return false;
}
