#include "nqdomxml/nqdomlsparser.h"

#include <xercesc/validators/DTD/DTDAttDef.hpp>
#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

#include <string>

namespace {

// A default attribute value as it reads back between double quotes: markup
// characters as references, and white space that reading would turn into
// spaces as character references.
std::u16string escapedAttribute(const XMLCh* value) {
    std::u16string out;
    for (const XMLCh* c = value; *c; ++c) {
        switch (*c) {
            case u'&':
                out += u"&amp;";
                break;
            case u'<':
                out += u"&lt;";
                break;
            case u'"':
                out += u"&quot;";
                break;
            case u'\t':
                out += u"&#9;";
                break;
            case u'\n':
                out += u"&#10;";
                break;
            case u'\r':
                out += u"&#13;";
                break;
            default:
                out += *c;
        }
    }
    return out;
}

// An entity's replacement text as a literal that reads back to it: a quote
// would end the literal, a percent sign start a parameter entity and "&#" a
// character reference. Other references stay: they are not expanded in a
// literal.
std::u16string escapedEntity(const XMLCh* value) {
    std::u16string out;
    for (const XMLCh* c = value; *c; ++c) {
        if (*c == u'"')
            out += u"&#34;";
        else if (*c == u'%')
            out += u"&#37;";
        else if (*c == u'&' && c[1] == u'#')
            out += u"&#38;";
        else
            out += *c;
    }
    return out;
}

// Gives a declaration of the grammar the escaped value while the base class
// writes it, and its own value back afterwards.
template <class Declaration>
class EscapedWhileWritten {
public:
    EscapedWhileWritten(const Declaration& declaration, const std::u16string& escaped)
        : m_declaration(const_cast<Declaration&>(declaration)), m_original(declaration.getValue()) {
        m_declaration.setValue(escaped.c_str());
    }
    ~EscapedWhileWritten() { m_declaration.setValue(m_original.c_str()); }

private:
    Declaration& m_declaration;
    const std::u16string m_original;
};

}  // namespace

void NqDomLSParser::attDef(const xercesc::DTDElementDecl& element, const xercesc::DTDAttDef& attribute,
                           bool ignoring) {
    const XMLCh* value = attribute.getValue();
    const std::u16string escaped = value ? escapedAttribute(value) : std::u16string();
    if (!value || escaped == value) return DOMLSParserImpl::attDef(element, attribute, ignoring);
    const EscapedWhileWritten<xercesc::DTDAttDef> swap(attribute, escaped);
    DOMLSParserImpl::attDef(element, attribute, ignoring);
}

void NqDomLSParser::entityDecl(const xercesc::DTDEntityDecl& entity, bool isParameter, bool isIgnored) {
    const XMLCh* value = entity.getValue();
    const std::u16string escaped = value ? escapedEntity(value) : std::u16string();
    if (!value || escaped == value) return DOMLSParserImpl::entityDecl(entity, isParameter, isIgnored);
    const EscapedWhileWritten<xercesc::DTDEntityDecl> swap(entity, escaped);
    DOMLSParserImpl::entityDecl(entity, isParameter, isIgnored);
}
