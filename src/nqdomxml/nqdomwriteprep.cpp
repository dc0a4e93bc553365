// Getting a subtree ready for writing. Loaded documents keep their xmlns
// declarations as plain attributes, which the engine's own fix-up does not
// see; here the bindings every name needs are compared with the
// declarations that will be written, and the missing ones are added for the
// duration of the write.
#include "nqdomxml/nqdomwriteprep.h"

#include <cstdio>
#include <string>

#include <xercesc/dom/impl/DOMConfigurationImpl.hpp>

#include "nqdommessages.h"
#include "nqdomxml/nqdomenginenodes.h"

using xercesc::DOMAttr;
using xercesc::DOMElement;
using xercesc::DOMNamedNodeMap;
using xercesc::DOMNode;
using xercesc::XMLString;

namespace {

const XMLCh kXml[] = u"xml";
const XMLCh kXmlns[] = u"xmlns";
const XMLCh kXmlnsColon[] = u"xmlns:";
const XMLCh kCDataEnd[] = u"]]>";

NqXmlView viewOf(const XMLCh* text) {
    return text ? NqXmlView(text) : NqXmlView();
}

// The prefix of a name as written; empty when it has none.
NqXmlView prefixOf(const XMLCh* name) {
    const int colon = XMLString::indexOf(name, u':');
    if (colon <= 0 || name[colon + 1] == 0 || XMLString::indexOf(name + colon + 1, u':') >= 0)
        return NqXmlView();
    return NqXmlView(name, static_cast<std::size_t>(colon));
}

// Prefixes no declaration can change.
bool reserved(NqXmlView prefix) {
    return prefix == kXml || prefix == kXmlns;
}

bool isDeclaration(DOMNode* attribute, NqXmlView* prefix) {
    if (attribute->getLocalName()) {
        if (!XMLString::equals(attribute->getNamespaceURI(), nqXmlnsNamespace)) return false;
        *prefix = attribute->getPrefix() ? viewOf(attribute->getLocalName()) : NqXmlView();
        return true;
    }
    const XMLCh* name = attribute->getNodeName();
    if (XMLString::equals(name, kXmlns)) {
        *prefix = NqXmlView();
        return true;
    }
    if (!XMLString::startsWith(name, kXmlnsColon)) return false;
    *prefix = viewOf(name + 6);
    return true;
}

// The first character XML 1.0 cannot carry, or 0.
unsigned badCharacter(const XMLCh* text) {
    for (const XMLCh* p = text; p && *p; ++p) {
        const unsigned c = *p;
        if (c < 0x20 && c != 0x9 && c != 0xA && c != 0xD) return c;
        if (c == 0xFFFE || c == 0xFFFF) return c;
        if (c >= 0xDC00 && c <= 0xDFFF) return c;
        if (c >= 0xD800 && c <= 0xDBFF) {
            if (p[1] < 0xDC00 || p[1] > 0xDFFF) return c;
            ++p;
        }
    }
    return 0;
}

// Every node from `top` down in document order, without recursion: `enter`
// (false stops the walk) and `leave` for each. Entity references are
// written as references, so their content is not visited.
template <typename Enter, typename Leave>
bool walkSubtree(DOMNode* top, Enter enter, Leave leave) {
    DOMNode* node = top;
    for (;;) {
        if (!enter(node)) return false;
        DOMNode* first =
            node->getNodeType() == DOMNode::ENTITY_REFERENCE_NODE ? nullptr : node->getFirstChild();
        if (first) {
            node = first;
            continue;
        }
        for (;;) {
            leave(node);
            if (node == top) return true;
            if (DOMNode* next = node->getNextSibling()) {
                node = next;
                break;
            }
            node = node->getParentNode();
        }
    }
}

// The marks live in the document's own configuration, in the error-handler
// slot that only normalizeDocument reads, which the library never calls:
// user data on the document would make the engine visit every node when
// the document is released, and the configuration's generic getParameter
// throws inside for this slot.
class WriteMark : public xercesc::DOMErrorHandler {
public:
    bool handleError(const xercesc::DOMError&) override { return false; }
};
WriteMark g_marks[NqWriteCareAll + 1];

// A document's configuration is always the engine's own kind.
xercesc::DOMConfigurationImpl* configurationOf(xercesc::DOMDocument* document) {
    return static_cast<xercesc::DOMConfigurationImpl*>(document->getDOMConfig());
}

}  // namespace

void nqDomMarkWriteCare(DOMNode* node, unsigned care) {
    xercesc::DOMDocument* document = node ? nqDomDocumentOf(node) : nullptr;
    if (!document) return;
    const unsigned now = nqDomWriteCare(document);
    if ((now | care) == now) return;
    configurationOf(document)->setErrorHandler(&g_marks[now | care]);
}

unsigned nqDomWriteCare(DOMNode* node) {
    xercesc::DOMDocument* document = node ? nqDomDocumentOf(node) : nullptr;
    if (!document) return 0;
    const xercesc::DOMErrorHandler* mark = configurationOf(document)->getErrorHandler();
    for (unsigned care = 1; care <= NqWriteCareAll; ++care) {
        if (mark == static_cast<const xercesc::DOMErrorHandler*>(&g_marks[care])) return care;
    }
    return 0;
}

NqWritePreparation::NqWritePreparation(DOMNode* target, NqXMLTranscoder& transcoder, bool everyCharacter)
    : m_target(target),
      m_outside(target->getParentNode()),
      m_transcoder(transcoder),
      m_checkCharacters(true),
      m_everyCharacter(everyCharacter) {
    m_document = nqDomDocumentOf(target);
    // XML 1.1 carries other characters; the engine answers for those.
    m_checkCharacters = !XMLString::equals(m_document->getXmlVersion(), u"1.1");
}

NqWritePreparation::~NqWritePreparation() {
    restoreRoot();
    if (m_scratch) m_scratch->release();  // the copy with it
}

bool NqWritePreparation::prepare(NqbString* problem) {
    return walkSubtree(
        m_target, [this, problem](DOMNode* node) { return enter(node, problem); },
        [this](DOMNode* node) { leave(node); });
}

// The engine writes its own declarations for namespace-aware nodes, blind to
// those a loaded document holds as plain attributes; a copy without
// namespaces, carrying the declarations the names need, is written instead.
// It is made in a document of its own, freed after the write, so that
// writing does not make the host's document grow.
DOMNode* NqWritePreparation::copy(xercesc::DOMImplementation* implementation) {
    if (m_copy) return m_copy;
    DOMNode* top = m_target;
    if (top->getNodeType() == DOMNode::DOCUMENT_NODE) top = m_document->getDocumentElement();
    if (!top) return nullptr;
    m_scratch = implementation->createDocument();
    m_scratch->setXmlVersion(m_document->getXmlVersion());
    std::vector<DOMNode*> parents;
    walkSubtree(
        top,
        [this, &parents](DOMNode* node) {
            DOMNode* copy = plainCopy(node);
            if (!parents.empty()) parents.back()->appendChild(copy);
            if (!m_copy) m_copy = copy;
            parents.push_back(copy);
            return true;
        },
        [&parents](DOMNode*) { parents.pop_back(); });
    return m_copy;
}

bool NqWritePreparation::standInForRoot(const XMLCh* text) {
    restoreRoot();
    DOMElement* root = m_document->getDocumentElement();
    if (!root) return false;
    // A comment: unlike an element, it leaves nothing behind in the document
    // once released.
    m_standIn = m_document->createComment(text);
    m_document->replaceChild(m_standIn, root);
    m_swappedRoot = root;
    return true;
}

void NqWritePreparation::restoreRoot() {
    if (!m_standIn) return;
    m_document->replaceChild(m_swappedRoot, m_standIn);
    m_standIn->release();
    m_standIn = nullptr;
    m_swappedRoot = nullptr;
}

// A node without namespaces with the name, attributes and data of `node`;
// a CDATA section holding "]]>" becomes a fragment of sections that each end
// before its ">".
DOMNode* NqWritePreparation::plainCopy(DOMNode* node) {
    switch (node->getNodeType()) {
        case DOMNode::ELEMENT_NODE: {
            DOMElement* copy = m_scratch->createElement(node->getNodeName());
            DOMNamedNodeMap* attributes = node->getAttributes();
            for (XMLSize_t i = 0; i < attributes->getLength(); ++i) {
                DOMAttr* attribute = static_cast<DOMAttr*>(attributes->item(i));
                // Defaults the document type declares are left to it, as the engine does.
                if (attribute->getSpecified())
                    copy->setAttribute(attribute->getName(), attribute->getValue());
            }
            const auto added = m_declarations.find(node);
            if (added == m_declarations.end()) return copy;
            for (const Binding& binding : added->second) {
                const NqXmlText name = binding.prefix.empty()
                                           ? NqXmlText(kXmlns)
                                           : NqXmlText(kXmlnsColon) + NqXmlText(binding.prefix);
                copy->setAttribute(name.c_str(), NqXmlText(binding.uri).c_str());
            }
            return copy;
        }
        case DOMNode::TEXT_NODE:
            return m_scratch->createTextNode(node->getNodeValue());
        case DOMNode::CDATA_SECTION_NODE:
            return splitCData(node->getNodeValue());
        case DOMNode::COMMENT_NODE:
            return m_scratch->createComment(node->getNodeValue());
        case DOMNode::PROCESSING_INSTRUCTION_NODE:
            return m_scratch->createProcessingInstruction(node->getNodeName(), node->getNodeValue());
        case DOMNode::ENTITY_REFERENCE_NODE:
            return m_scratch->createEntityReference(node->getNodeName());
        default:
            return m_scratch->createDocumentFragment();
    }
}

bool NqWritePreparation::enter(DOMNode* node, NqbString* problem) {
    switch (node->getNodeType()) {
        case DOMNode::ELEMENT_NODE:
            return enterElement(static_cast<DOMElement*>(node), problem);
        case DOMNode::CDATA_SECTION_NODE:
            if (!checkText(node, node->getNodeValue(), problem)) return false;
            m_needsCopy = m_needsCopy || XMLString::patternMatch(node->getNodeValue(), kCDataEnd) >= 0;
            return true;
        case DOMNode::TEXT_NODE:
        case DOMNode::COMMENT_NODE:
        case DOMNode::PROCESSING_INSTRUCTION_NODE:
            return !m_everyCharacter || checkText(node, node->getNodeValue(), problem);
        default:
            return true;
    }
}

void NqWritePreparation::leave(DOMNode* node) {
    if (node->getNodeType() != DOMNode::ELEMENT_NODE) return;
    m_model.resize(m_modelMarks.back());
    m_modelMarks.pop_back();
    m_written.resize(m_writtenMarks.back());
    m_writtenMarks.pop_back();
}

bool NqWritePreparation::enterElement(DOMElement* element, NqbString* problem) {
    // What this element binds, in the order the node handles look: its own
    // name first, then its attributes.
    std::vector<Binding>& model = m_level;
    model.clear();
    m_modelMarks.push_back(m_model.size());
    m_writtenMarks.push_back(m_written.size());
    // Made without a namespace, an element reads as a plain name.
    const bool inNamespace = element->getLocalName() && element->getNamespaceURI();
    m_namespaceAware = m_namespaceAware || element->getLocalName();
    if (inNamespace) {
        model.push_back({viewOf(element->getPrefix()), viewOf(element->getNamespaceURI())});
        m_defaultNamespace = m_defaultNamespace || model.back().prefix.empty();
    } else {
        m_plainElements = true;
    }
    DOMNamedNodeMap* attributes = element->getAttributes();
    const XMLSize_t count = attributes->getLength();
    for (XMLSize_t i = 0; i < count; ++i) {
        DOMNode* attribute = attributes->item(i);
        NqXmlView prefix;
        const bool declaration = isDeclaration(attribute, &prefix);
        if (declaration) {
            m_defaultDeclaration = m_defaultDeclaration || prefix.empty();
            model.push_back({prefix, viewOf(nqDomAttributeValue(attribute))});
            m_written.push_back(model.back());
        } else if (attribute->getLocalName() && attribute->getPrefix() && attribute->getNamespaceURI()) {
            model.push_back({viewOf(attribute->getPrefix()), viewOf(attribute->getNamespaceURI())});
        }
        if (attribute->getLocalName())
            m_namespaceAware = true;
        else if (declaration)
            m_plainDeclarations = true;
        if (m_everyCharacter && !checkText(attribute, nqDomAttributeValue(attribute), problem)) return false;
    }
    // Searched from the back, so the first the handles would find goes last.
    m_model.insert(m_model.end(), model.rbegin(), model.rend());

    // What each name needs: its own namespace, or what the handles resolve
    // its prefix to.
    if (inNamespace) {
        if (!bind(element, viewOf(element->getPrefix()), viewOf(element->getNamespaceURI()), true, problem))
            return false;
    } else {
        const NqXmlView prefix = prefixOf(element->getNodeName());
        if (!bind(element, prefix, modelBinding(prefix), false, problem)) return false;
    }
    for (XMLSize_t i = 0; i < count; ++i) {
        DOMNode* attribute = attributes->item(i);
        NqXmlView prefix;
        if (isDeclaration(attribute, &prefix)) continue;
        if (attribute->getLocalName()) {
            if (!attribute->getNamespaceURI() || !*attribute->getNamespaceURI()) continue;
            if (!attribute->getPrefix()) {
                *problem = NQ_LIBXML_MESSAGE(NQ_MSG_WRITE_UNPREFIXED, describe(attribute).c_str());
                return false;
            }
            if (!bind(element, viewOf(attribute->getPrefix()), viewOf(attribute->getNamespaceURI()), true,
                      problem))
                return false;
            continue;
        }
        prefix = prefixOf(attribute->getNodeName());
        if (!prefix.empty() && !bind(element, prefix, modelBinding(prefix), false, problem)) return false;
    }
    return true;
}

// Makes the declarations written at `element` bind `prefix` to `uri`, for a
// name that is namespace-aware or not.
bool NqWritePreparation::bind(DOMElement* element, NqXmlView prefix, NqXmlView uri, bool namespaceAware,
                              NqbString* problem) {
    if (reserved(prefix)) return true;
    std::size_t found = m_written.size();
    while (found > 0 && m_written[found - 1].prefix != prefix) --found;
    const NqXmlView current = found > 0 ? m_written[found - 1].uri : NqXmlView();
    if (current == uri) return true;
    const bool declaredHere = found > m_writtenMarks.back();
    // A prefix cannot be undeclared in XML 1.0, nor bound twice on one element.
    if (declaredHere || (!prefix.empty() && uri.empty())) {
        *problem = NQ_LIBXML_MESSAGE(NQ_MSG_WRITE_PREFIX, describe(element).c_str(),
                                     utf8(NqXmlText(prefix).c_str()).c_str());
        return false;
    }
    // A declaration repeated from outside the subtree brings its value along.
    if (!checkText(element, NqXmlText(uri).c_str(), problem)) return false;
    m_declarations[element].push_back({prefix, uri});
    // The engine declares a namespace-aware name's namespace itself.
    m_engineDeclaresAll = m_engineDeclaresAll && namespaceAware && !uri.empty();
    m_written.push_back({prefix, uri});
    return true;
}

// Bindings from outside the subtree count as the handles see them.
NqXmlView NqWritePreparation::modelBinding(NqXmlView prefix) const {
    for (auto binding = m_model.rbegin(); binding != m_model.rend(); ++binding) {
        if (binding->prefix == prefix) return binding->uri;
    }
    return m_outside ? viewOf(nqDomLookupNamespace(m_outside, NqXmlText(prefix))) : NqXmlView();
}

bool NqWritePreparation::checkText(DOMNode* node, const XMLCh* text, NqbString* problem) {
    if (!m_checkCharacters) return true;
    const unsigned bad = badCharacter(text);
    if (!bad) return true;
    char code[16];
    std::snprintf(code, sizeof code, "U+%04X", bad);
    *problem = NQ_LIBXML_MESSAGE(NQ_MSG_WRITE_CHARACTER, describe(node).c_str(), code);
    return false;
}

DOMNode* NqWritePreparation::splitCData(const XMLCh* text) {
    const NqXmlText data(text ? text : u"");
    std::size_t end = data.find(kCDataEnd);
    if (end == NqXmlText::npos) return m_scratch->createCDATASection(text);
    DOMNode* pieces = m_scratch->createDocumentFragment();
    std::size_t start = 0;
    while (start < data.size()) {
        const std::size_t stop = end == NqXmlText::npos ? data.size() : end + 2;
        pieces->appendChild(m_scratch->createCDATASection(data.substr(start, stop - start).c_str()));
        start = stop;
        end = data.find(kCDataEnd, start);
    }
    return pieces;
}

std::string NqWritePreparation::utf8(const XMLCh* text) {
    const NqbString converted = m_transcoder.toNqb(text);
    return converted.isNull() ? std::string() : std::string(converted.asCstr());
}

std::string NqWritePreparation::describe(DOMNode* node) {
    const std::string name = utf8(node->getNodeName());
    DOMNode* parent = node->getNodeType() == DOMNode::ATTRIBUTE_NODE
                          ? static_cast<DOMAttr*>(node)->getOwnerElement()
                          : node->getParentNode();
    std::string where;
    if (parent && parent->getNodeType() == DOMNode::ELEMENT_NODE)
        where = " in element \"" + utf8(parent->getNodeName()) + "\"";
    switch (node->getNodeType()) {
        case DOMNode::ELEMENT_NODE:
            return "element \"" + name + "\"";
        case DOMNode::ATTRIBUTE_NODE:
            return "attribute \"" + name + "\"" + where;
        case DOMNode::PROCESSING_INSTRUCTION_NODE:
            return "processing instruction \"" + name + "\"" + where;
        case DOMNode::CDATA_SECTION_NODE:
            return "CDATA section" + where;
        case DOMNode::COMMENT_NODE:
            return "comment" + where;
        default:
            return "text" + where;
    }
}
