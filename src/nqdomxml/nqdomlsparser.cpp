#include "nqdomxml/nqdomlsparser.h"

#include <xercesc/validators/DTD/DTDAttDef.hpp>
#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

#include <algorithm>
#include <iterator>
#include <string>

namespace {

// A character and the reference written in its place; with `before` set,
// only where that character follows it.
struct Reference {
    XMLCh character;
    const char16_t* text;
    XMLCh before;
};

// Default attribute values, read back between double quotes: markup
// characters, and white space that reading would turn into spaces.
constexpr Reference kAttributeReferences[] = {{u'&', u"&amp;", 0},  {u'<', u"&lt;", 0},
                                              {u'"', u"&quot;", 0}, {u'\t', u"&#9;", 0},
                                              {u'\n', u"&#10;", 0}, {u'\r', u"&#13;", 0}};
// Entity values: a quote would end the literal, a percent sign start a
// parameter entity and "&#" a character reference. Other references stay:
// they are not expanded in a literal.
constexpr Reference kEntityReferences[] = {{u'"', u"&#34;", 0}, {u'%', u"&#37;", 0}, {u'&', u"&#38;", u'#'}};

template <std::size_t N>
std::u16string escaped(const std::u16string& value, const Reference (&references)[N]) {
    std::u16string out;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const XMLCh next = i + 1 < value.size() ? value[i + 1] : 0;
        const Reference* found = std::find_if(
            std::begin(references), std::end(references),
            [&](const Reference& r) { return r.character == value[i] && (!r.before || r.before == next); });
        if (found == std::end(references))
            out += value[i];
        else
            out += found->text;
    }
    return out;
}

// Calls `write` while `declaration`, a declaration of the grammar, holds its
// value escaped; the value is back as it was afterwards.
template <class Declaration, std::size_t N, class Write>
void writeEscaped(const Declaration& declaration, const Reference (&references)[N], Write write) {
    const XMLCh* value = declaration.getValue();
    const std::u16string original = value ? value : u"";
    const std::u16string escapedValue = escaped(original, references);
    if (!value || escapedValue == original) return write();
    // Put back even when the engine throws while writing.
    struct Restore {
        Declaration& changed;
        const std::u16string& original;
        ~Restore() { changed.setValue(original.c_str()); }
    } restore{const_cast<Declaration&>(declaration), original};
    restore.changed.setValue(escapedValue.c_str());
    write();
}

}  // namespace

void NqDomLSParser::attDef(const xercesc::DTDElementDecl& element, const xercesc::DTDAttDef& attribute,
                           bool ignoring) {
    writeEscaped(attribute, kAttributeReferences,
                 [&] { DOMLSParserImpl::attDef(element, attribute, ignoring); });
}

void NqDomLSParser::entityDecl(const xercesc::DTDEntityDecl& entity, bool isParameter, bool isIgnored) {
    writeEscaped(entity, kEntityReferences,
                 [&] { DOMLSParserImpl::entityDecl(entity, isParameter, isIgnored); });
}
