#include "xml_check.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace nqtool {
namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isLetter(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Bytes of multi-byte UTF-8 characters count as name characters: the exact
// Unicode ranges are left to the parser.
bool isNameStart(unsigned char c) {
    return isLetter(c) || c == '_' || c == ':' || c >= 0x80;
}

bool isNameChar(unsigned char c) {
    return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

bool isXmlChar(unsigned long c) {
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

// Length of the well-formed UTF-8 sequence at `p`, 0 when it is malformed
// (overlong forms and surrogates included); its code point in *c.
std::size_t utf8Sequence(const unsigned char* p, const unsigned char* end, unsigned long* c) {
    std::size_t length = p[0] < 0x80   ? 1
                         : p[0] < 0xC2 ? 0
                         : p[0] < 0xE0 ? 2
                         : p[0] < 0xF0 ? 3
                         : p[0] < 0xF5 ? 4
                                       : 0;
    if (length == 0 || static_cast<std::size_t>(end - p) < length) return 0;
    *c = length == 1 ? p[0] : p[0] & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((p[i] & 0xC0) != 0x80) return 0;
        *c = (*c << 6) | (p[i] & 0x3F);
    }
    static const unsigned long kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (*c < kSmallest[length] || (*c >= 0xD800 && *c <= 0xDFFF) || *c > 0x10FFFF) return 0;
    return length;
}

std::string lower(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    return out;
}

class Checker {
public:
    Checker(const char* text, std::size_t length, std::size_t maxNesting)
        : m_begin(text), m_p(text), m_end(text + length), m_maxNesting(maxNesting) {}

    bool run(XmlProblem* problem);

private:
    bool fail(const char* at, const std::string& what);
    bool startsWith(std::string_view prefix) const {
        return static_cast<std::size_t>(m_end - m_p) >= prefix.size() &&
               std::string_view(m_p, prefix.size()) == prefix;
    }
    // Position of `what` at or after the current one, or null.
    const char* find(std::string_view what) const;
    bool skipSpace();
    bool name(std::string_view* out);

    void detectEncoding();
    bool characters();
    bool markup();
    bool comment();
    bool cdata();
    bool doctype();
    bool processingInstruction();
    bool endTag();
    bool startTag();
    bool attributeValue();
    bool text();
    bool reference();

    const char* m_begin;
    const char* m_p;
    const char* m_end;
    std::size_t m_maxNesting;
    const char* m_documentStart = nullptr;  // after a byte order mark
    std::vector<std::string_view> m_open;
    std::vector<std::string_view> m_attributes;
    bool m_utf8 = true;
    bool m_rootSeen = false;
    bool m_doctype = false;
    const char* m_failAt = nullptr;
    std::string m_what;
};

bool Checker::fail(const char* at, const std::string& what) {
    m_failAt = at;
    m_what = what;
    return false;
}

const char* Checker::find(std::string_view what) const {
    std::string_view rest(m_p, static_cast<std::size_t>(m_end - m_p));
    std::size_t at = rest.find(what);
    return at == std::string_view::npos ? nullptr : m_p + at;
}

bool Checker::skipSpace() {
    const char* start = m_p;
    while (m_p < m_end && isSpace(*m_p)) ++m_p;
    return m_p != start;
}

bool Checker::name(std::string_view* out) {
    const char* start = m_p;
    if (m_p >= m_end || !isNameStart(static_cast<unsigned char>(*m_p))) return false;
    while (m_p < m_end && isNameChar(static_cast<unsigned char>(*m_p))) ++m_p;
    *out = std::string_view(start, static_cast<std::size_t>(m_p - start));
    return true;
}

// Only text in UTF-8 (declared or by default) has its bytes checked as
// UTF-8; for another declared encoding the parser converts.
void Checker::detectEncoding() {
    if (!startsWith("<?xml")) return;
    const char* close = find("?>");
    if (!close) return;
    std::string_view declaration(m_p, static_cast<std::size_t>(close - m_p));
    std::size_t at = declaration.find("encoding");
    if (at == std::string_view::npos) return;
    std::size_t quote = declaration.find_first_of("\"'", at);
    if (quote == std::string_view::npos) return;
    std::size_t endQuote = declaration.find(declaration[quote], quote + 1);
    if (endQuote == std::string_view::npos) return;
    std::string encoding = lower(declaration.substr(quote + 1, endQuote - quote - 1));
    m_utf8 = encoding == "utf-8" || encoding == "utf8";
}

bool Checker::characters() {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(m_p);
    const unsigned char* end = reinterpret_cast<const unsigned char*>(m_end);
    while (p < end) {
        unsigned long c = *p;
        std::size_t length = 1;
        if (c >= 0x80 && m_utf8) length = utf8Sequence(p, end, &c);
        const char* at = reinterpret_cast<const char*>(p);
        if (length == 0) return fail(at, "bytes that are not UTF-8");
        if (c < 0x80 && !isXmlChar(c))
            return fail(at, "control character " + std::to_string(c) + " is not allowed");
        if (c == 0xFFFE || c == 0xFFFF) return fail(at, "character U+FFFE or U+FFFF is not allowed");
        p += length;
    }
    return true;
}

bool Checker::markup() {
    if (startsWith("<!--")) return comment();
    if (startsWith("<![CDATA[")) return cdata();
    if (startsWith("<!DOCTYPE")) return doctype();
    if (startsWith("<?")) return processingInstruction();
    if (startsWith("</")) return endTag();
    return startTag();
}

bool Checker::comment() {
    const char* at = m_p;
    m_p += 4;
    const char* dashes = find("--");
    if (!dashes) return fail(at, "unterminated comment");
    if (dashes + 2 >= m_end || dashes[2] != '>') return fail(dashes, "\"--\" inside a comment");
    m_p = dashes + 3;
    return true;
}

bool Checker::cdata() {
    const char* at = m_p;
    if (m_open.empty()) return fail(at, "CDATA section outside the root element");
    const char* close = find("]]>");
    if (!close) return fail(at, "unterminated CDATA section");
    m_p = close + 3;
    return true;
}

// Skips the declaration, internal subset included; entities it may declare
// are taken on trust.
bool Checker::doctype() {
    const char* at = m_p;
    if (m_rootSeen) return fail(at, "DOCTYPE after the root element");
    if (m_doctype) return fail(at, "a second DOCTYPE");
    m_p += 9;
    int depth = 0;
    while (m_p < m_end) {
        char c = *m_p;
        std::string_view close = c == '"'             ? "\""
                                 : c == '\''          ? "'"
                                 : startsWith("<!--") ? "-->"
                                 : startsWith("<?")   ? "?>"
                                                      : "";
        if (!close.empty()) {
            ++m_p;
            const char* found = find(close);
            if (!found) break;
            m_p = found + close.size();
            continue;
        }
        if (c == '>' && depth == 0) {
            ++m_p;
            m_doctype = true;
            return true;
        }
        depth += c == '[' ? 1 : c == ']' ? -1 : 0;
        ++m_p;
    }
    return fail(at, "unterminated DOCTYPE");
}

bool Checker::processingInstruction() {
    const char* at = m_p;
    m_p += 2;
    std::string_view target;
    if (!name(&target)) return fail(at, "processing instruction without a target");
    if (lower(target) == "xml" && at != m_documentStart) {
        return fail(at, "XML declaration not at the start of the document");
    }
    if (!startsWith("?>") && !skipSpace()) return fail(m_p, "malformed processing instruction");
    const char* close = find("?>");
    if (!close) return fail(at, "unterminated processing instruction");
    m_p = close + 2;
    return true;
}

bool Checker::endTag() {
    const char* at = m_p;
    m_p += 2;
    std::string_view tag;
    if (!name(&tag)) return fail(at, "malformed end tag");
    skipSpace();
    if (m_p >= m_end || *m_p != '>') return fail(at, "malformed end tag </" + std::string(tag) + ">");
    ++m_p;
    if (m_open.empty()) return fail(at, "end tag </" + std::string(tag) + "> without a start tag");
    if (tag != m_open.back()) {
        return fail(
            at, "end tag </" + std::string(tag) + "> does not match <" + std::string(m_open.back()) + ">");
    }
    m_open.pop_back();
    return true;
}

bool Checker::startTag() {
    const char* at = m_p;
    ++m_p;
    std::string_view tag;
    if (!name(&tag)) return fail(at, "\"<\" not followed by a name (a literal \"<\" is written \"&lt;\")");
    if (m_open.empty() && m_rootSeen) return fail(at, "a second root element <" + std::string(tag) + ">");
    m_rootSeen = true;
    m_attributes.clear();
    for (;;) {
        bool spaced = skipSpace();
        if (m_p >= m_end) return fail(at, "unterminated start tag <" + std::string(tag) + ">");
        if (*m_p == '>') {
            ++m_p;
            if (m_open.size() == m_maxNesting) {
                return fail(at, "elements nested deeper than " + std::to_string(m_maxNesting) + " levels");
            }
            m_open.push_back(tag);
            return true;
        }
        if (startsWith("/>")) {
            m_p += 2;
            return true;
        }
        const char* attributeAt = m_p;
        std::string_view attribute;
        if (!spaced || !name(&attribute))
            return fail(attributeAt, "malformed start tag <" + std::string(tag) + ">");
        if (std::find(m_attributes.begin(), m_attributes.end(), attribute) != m_attributes.end()) {
            return fail(attributeAt, "attribute " + std::string(attribute) + " given twice");
        }
        m_attributes.push_back(attribute);
        skipSpace();
        if (m_p >= m_end || *m_p != '=')
            return fail(m_p, "expected \"=\" after attribute " + std::string(attribute));
        ++m_p;
        skipSpace();
        if (!attributeValue()) return false;
    }
}

bool Checker::attributeValue() {
    const char* at = m_p;
    if (m_p >= m_end || (*m_p != '"' && *m_p != '\'')) return fail(at, "attribute value without quotes");
    char quote = *m_p++;
    while (m_p < m_end && *m_p != quote) {
        if (*m_p == '<') return fail(m_p, "\"<\" inside an attribute value");
        if (*m_p == '&') {
            if (!reference()) return false;
            continue;
        }
        ++m_p;
    }
    if (m_p >= m_end) return fail(at, "unterminated attribute value");
    ++m_p;
    return true;
}

bool Checker::text() {
    while (m_p < m_end && *m_p != '<') {
        char c = *m_p;
        if (m_open.empty() && !isSpace(c)) {
            return fail(m_p, m_rootSeen ? "text after the root element" : "text before the root element");
        }
        if (c == '&') {
            if (!reference()) return false;
            continue;
        }
        if (c == ']' && startsWith("]]>")) return fail(m_p, "\"]]>\" in text");
        ++m_p;
    }
    return true;
}

bool Checker::reference() {
    const char* at = m_p++;
    if (m_p < m_end && *m_p == '#') {
        ++m_p;
        bool hex = m_p < m_end && *m_p == 'x';
        if (hex) ++m_p;
        const char* digits = m_p;
        unsigned long value = 0;
        for (; m_p < m_end; ++m_p) {
            char c = *m_p;
            int digit = c >= '0' && c <= '9'   ? c - '0'
                        : !hex                 ? -1
                        : c >= 'a' && c <= 'f' ? c - 'a' + 10
                        : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                               : -1;
            if (digit < 0) break;
            value = std::min(value * (hex ? 16 : 10) + static_cast<unsigned long>(digit), 0x110000UL);
        }
        if (m_p == digits || m_p >= m_end || *m_p != ';') return fail(at, "malformed character reference");
        ++m_p;
        if (!isXmlChar(value)) return fail(at, "character reference to a character XML does not allow");
        return true;
    }
    std::string_view entity;
    if (!name(&entity) || m_p >= m_end || *m_p != ';') {
        return fail(at, "malformed reference (a literal \"&\" is written \"&amp;\")");
    }
    ++m_p;
    static const std::string_view kPredefined[] = {"amp", "lt", "gt", "quot", "apos"};
    bool predefined =
        std::find(std::begin(kPredefined), std::end(kPredefined), entity) != std::end(kPredefined);
    if (!predefined && !m_doctype) return fail(at, "undeclared entity &" + std::string(entity) + ";");
    return true;
}

bool Checker::run(XmlProblem* problem) {
    if (startsWith("\xFE\xFF") || startsWith("\xFF\xFE")) return true;
    if (startsWith("\xEF\xBB\xBF")) m_p += 3;
    m_documentStart = m_p;
    detectEncoding();
    bool ok = characters();
    while (ok && m_p < m_end) ok = *m_p == '<' ? markup() : text();
    if (ok && !m_open.empty()) ok = fail(m_end, "missing end tag </" + std::string(m_open.back()) + ">");
    if (ok && !m_rootSeen) ok = fail(m_end, "no root element");
    if (ok) return true;

    problem->what = m_what;
    problem->line = 1 + static_cast<std::size_t>(std::count(m_begin, m_failAt, '\n'));
    const char* lineStart = m_failAt;
    while (lineStart > m_begin && lineStart[-1] != '\n') --lineStart;
    problem->column = 1 + static_cast<std::size_t>(m_failAt - lineStart);
    return false;
}

}  // namespace

bool checkWellFormed(const char* text, std::size_t length, std::size_t maxNesting, XmlProblem* problem) {
    return Checker(text, length, maxNesting).run(problem);
}

std::string describe(const XmlProblem& problem) {
    return "line " + std::to_string(problem.line) + ", column " + std::to_string(problem.column) + ": " +
           problem.what;
}

}  // namespace nqtool
