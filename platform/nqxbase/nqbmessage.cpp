#include "nqxbase.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

struct Message {
    const char* catalogue;
    int id;
    // Only %s (text), %d (int) and %% appear here.
    const char* text;
};

// Built-in texts, used in place of the installed catalogues.
constexpr Message kMessages[] = {
    {"LibXML", 97, "not all of file \"%s\" could be read"},
    {"LibXML", 282, "no DOM implementation for the feature \"Core\""},
    {"LibXML", 336, "the file to read is empty"},
    {"LibXML", 341, "parsing failed: DOM exception %d"},
    {"LibXML", 342, "creating a new document failed: DOM exception %d"},
    {"LibXML", 343, "serializing failed: DOM exception %d"},
    {"LibXML", 344, "nothing to serialize: there is no current document"},
    {"LibXML", 345, "line %d, column %d: %s"},
    {"LibXML", 346, "file \"%s\", line %d, column %d: %s"},
    {"LibXML", 347, "the text is larger than 2 GiB"},
    {"LibXML", 348, "cannot write %s: it holds %s, a character XML 1.0 cannot carry"},
    {"LibXML", 349, "cannot write %s: prefix \"%s\" would be bound to two namespaces, or undeclared"},
    {"LibXML", 350, "cannot write %s: it is in a namespace but has no prefix"},
    {"LibXML", 351, "cannot write the document: it has no root element"},
    {"LibXML", 444, "out of memory"},
    {"LibXML", 463, "not all of the text could be written to file \"%s\""},
    {"LibXML", 471, "importing a node failed: %s"},
    {"LibXML", 1041, "cannot open file \"%s\" for reading"},
    {"LibXML", 1042, "cannot open file \"%s\" for writing"},
    {"LibXML", 1420, "variable index out of range"},
    {"LibXML", 1666, "variable name \"%s\" is used twice"},
    {"LibXML", 1762, "variable \"%s\" of the skeleton text is not in the skeleton document"},
    {"LibXML", 1764, "more than one variable in %s (%s)"},
    {"LibXML", 1765, "the skeleton text and the skeleton document hold different numbers of variables"},
    {"LibXML", 1766, "the template has no root element"},
    {"Data flow", 288, "not a configuration document: the root element is not \"norquilldocument\""},
    {"Data flow", 289, "configuration document: attribute \"class\" is not \"config\""},
    {"Data flow", 290, "configuration document: \"version\" is outside 1.0 to 1.999"},
    {NQB_CATALOGUE_BASE, NQB_MSG_UNTERMINATED_VARIABLE, "unterminated variable reference at offset %d"},
    {NQB_CATALOGUE_BASE, NQB_MSG_BAD_VARIABLE_NAME, "invalid variable name \"%s\" at offset %d"},
    {NQB_CATALOGUE_BASE, NQB_MSG_VARIABLE_INDEX, "variable index %d out of range"},
    {NQB_CATALOGUE_BASE, NQB_MSG_VARIABLE_WITHOUT_VALUE, "required variable \"%s\" has no value"},
    {NQB_CATALOGUE_BASE, NQB_MSG_NO_TEXT, "nothing to render: no text was initialised"},
};

const char* findText(const char* catalogue, int id) {
    for (const Message& message : kMessages) {
        if (message.id == id && std::strcmp(message.catalogue, catalogue) == 0) return message.text;
    }
    return nullptr;
}

// A printf subset walked by hand so that a null text prints "(null)" instead
// of depending on the C library.
void expand(std::string& out, const char* text, va_list args) {
    for (const char* p = text; *p != '\0'; ++p) {
        if (*p != '%') {
            out += *p;
            continue;
        }
        ++p;
        if (*p == 's') {
            const char* value = va_arg(args, const char*);
            out += value ? value : "(null)";
        } else if (*p == 'd') {
            out += std::to_string(va_arg(args, int));
        } else {
            out += '%';
            if (*p == '\0') break;
            if (*p != '%') out += *p;
        }
    }
}

}  // namespace

NqbString nqb_get_message(const char* /*file*/, int /*line*/, const char* catalogue, int id, ...) {
    if (catalogue == nullptr) catalogue = "(null)";
    std::string out = catalogue;
    out += ' ';
    out += std::to_string(id);
    out += ": ";
    const char* text = findText(catalogue, id);
    if (text == nullptr) {
        out += "unknown message";
    } else {
        va_list args;
        va_start(args, id);
        expand(out, text, args);
        va_end(args);
    }
    return NqbString(out.c_str());
}
