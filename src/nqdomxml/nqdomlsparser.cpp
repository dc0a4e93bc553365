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

// Calls `write` while `declaration`, a declaration of the grammar, holds its
// value escaped; the value is back as it was afterwards.
template <class Declaration, class Write>
void writeEscaped(const Declaration& declaration, std::u16string (*escape)(const XMLCh*), Write write) {
    const XMLCh* value = declaration.getValue();
    const std::u16string original = value ? value : u"";
    const std::u16string escaped = escape(original.c_str());
    if (!value || escaped == original) return write();
    // Put back even when the engine throws while writing.
    struct Restore {
        Declaration& changed;
        const std::u16string& original;
        ~Restore() { changed.setValue(original.c_str()); }
    } restore{const_cast<Declaration&>(declaration), original};
    restore.changed.setValue(escaped.c_str());
    write();
}

}  // namespace

void NqDomLSParser::attDef(const xercesc::DTDElementDecl& element, const xercesc::DTDAttDef& attribute,
                           bool ignoring) {
    writeEscaped(attribute, escapedAttribute, [&] { DOMLSParserImpl::attDef(element, attribute, ignoring); });
}

void NqDomLSParser::entityDecl(const xercesc::DTDEntityDecl& entity, bool isParameter, bool isIgnored) {
    writeEscaped(entity, escapedEntity, [&] { DOMLSParserImpl::entityDecl(entity, isParameter, isIgnored); });
}
