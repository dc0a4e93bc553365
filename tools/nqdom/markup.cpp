#include "markup.h"

#include <cstdlib>

namespace nqtool {
namespace {

bool startsWith(std::string_view text, std::size_t at, std::string_view prefix) {
    return text.compare(at, prefix.size(), prefix) == 0;
}

bool spaceChar(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::size_t skipSpace(std::string_view text, std::size_t at) {
    while (at < text.size() && spaceChar(text[at])) ++at;
    return at;
}

// Position after the quoted string that starts at `at`.
std::size_t skipQuoted(std::string_view text, std::size_t at) {
    std::size_t end = text.find(text[at], at + 1);
    return end == std::string_view::npos ? text.size() : end + 1;
}

void appendUtf8(unsigned long code, std::string* out) {
    if (code < 0x80) {
        *out += static_cast<char>(code);
    } else if (code < 0x800) {
        *out += static_cast<char>(0xC0 | (code >> 6));
        *out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        *out += static_cast<char>(0xE0 | (code >> 12));
        *out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        *out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        *out += static_cast<char>(0xF0 | (code >> 18));
        *out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        *out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        *out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

// The character a predefined or character reference stands for; false for
// a reference to another entity.
bool decodeReference(std::string_view name, std::string* out) {
    static const std::pair<std::string_view, char> kPredefined[] = {
        {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    if (!name.empty() && name[0] == '#') {
        std::string digits(name.substr(name.size() > 1 && name[1] == 'x' ? 2 : 1));
        appendUtf8(std::strtoul(digits.c_str(), nullptr, name[1] == 'x' ? 16 : 10), out);
        return true;
    }
    for (const auto& [entity, character] : kPredefined) {
        if (name != entity) continue;
        *out += character;
        return true;
    }
    return false;
}

// A literal entity value: character references decoded, others kept.
std::string entityValue(std::string_view literal) {
    std::string value;
    std::size_t at = 0;
    for (std::size_t amp = literal.find("&#"); amp != std::string_view::npos; amp = literal.find("&#", at)) {
        std::size_t semicolon = literal.find(';', amp);
        value.append(literal.substr(at, amp - at));
        decodeReference(literal.substr(amp + 1, semicolon - amp - 1), &value);
        at = semicolon + 1;
    }
    return value.append(literal.substr(at));
}

// Reads the declaration after "<!ENTITY" at `at` into `entities` when it is
// an internal general entity; returns where scanning goes on.
std::size_t readEntity(std::string_view doctype, std::size_t at, Entities* entities) {
    at = skipSpace(doctype, at);
    if (at >= doctype.size() || doctype[at] == '%') return at;
    std::size_t nameEnd = at;
    while (nameEnd < doctype.size() && !spaceChar(doctype[nameEnd])) ++nameEnd;
    std::size_t value = skipSpace(doctype, nameEnd);
    if (value >= doctype.size() || (doctype[value] != '"' && doctype[value] != '\'')) return value;
    std::size_t end = skipQuoted(doctype, value);
    // The first declaration of a name is the one that counts.
    entities->emplace(std::string(doctype.substr(at, nameEnd - at)),
                      entityValue(doctype.substr(value + 1, end - value - 2)));
    return end;
}

}  // namespace

std::size_t MarkupReader::endOf(std::size_t from, std::string_view terminator) const {
    std::size_t found = m_text.find(terminator, from);
    return found == std::string_view::npos ? m_text.size() : found + terminator.size();
}

std::size_t MarkupReader::endOfTag(std::size_t from) const {
    for (std::size_t at = from + 1; at < m_text.size();) {
        char c = m_text[at];
        if (c == '>') return at + 1;
        at = c == '"' || c == '\'' ? skipQuoted(m_text, at) : at + 1;
    }
    return m_text.size();
}

std::size_t MarkupReader::endOfDoctype(std::size_t from) const {
    bool inSubset = false;
    for (std::size_t at = from + 2; at < m_text.size();) {
        char c = m_text[at];
        if (c == '"' || c == '\'') {
            at = skipQuoted(m_text, at);
        } else if (inSubset && startsWith(m_text, at, "<!--")) {
            at = endOf(at, "-->");
        } else if (inSubset && startsWith(m_text, at, "<?")) {
            at = endOf(at, "?>");
        } else if (c == '>' && !inSubset) {
            return at + 1;
        } else {
            if (c == '[' || c == ']') inSubset = c == '[';
            ++at;
        }
    }
    return m_text.size();
}

bool MarkupReader::next(Piece* piece) {
    std::size_t start = m_at;
    if (start >= m_text.size()) return false;
    std::size_t end;
    if (m_text[start] != '<') {
        end = std::min(m_text.find('<', start), m_text.size());
        piece->kind = Markup::Text;
    } else if (startsWith(m_text, start, "<?")) {
        end = endOf(start, "?>");
        piece->kind = start == 0 && startsWith(m_text, start, "<?xml ") ? Markup::Declaration : Markup::Pi;
    } else if (startsWith(m_text, start, "<!--")) {
        end = endOf(start + 4, "-->");
        piece->kind = Markup::Comment;
    } else if (startsWith(m_text, start, "<![CDATA[")) {
        end = endOf(start, "]]>");
        piece->kind = Markup::CData;
    } else if (startsWith(m_text, start, "<!")) {
        end = endOfDoctype(start);
        piece->kind = Markup::Doctype;
    } else if (startsWith(m_text, start, "</")) {
        end = endOf(start, ">");
        piece->kind = Markup::End;
    } else {
        end = endOfTag(start);
        piece->kind = m_text[end - 2] == '/' ? Markup::Empty : Markup::Start;
    }
    piece->raw = m_text.substr(start, end - start);
    m_at = end;
    return true;
}

std::string_view tagName(std::string_view tag) {
    std::size_t start = tag[1] == '/' ? 2 : 1;
    std::size_t end = start;
    while (end < tag.size() && !spaceChar(tag[end]) && tag[end] != '>' && tag[end] != '/') ++end;
    return tag.substr(start, end - start);
}

Attributes attributesOf(std::string_view tag) {
    Attributes attributes;
    std::size_t at = 1 + tagName(tag).size();
    for (;;) {
        at = skipSpace(tag, at);
        std::size_t equals = tag.find('=', at);
        if (equals == std::string_view::npos) return attributes;
        std::size_t quote = skipSpace(tag, equals + 1);
        std::size_t end = skipQuoted(tag, quote);
        std::string name(tag.substr(at, equals - at));
        while (!name.empty() && spaceChar(name.back())) name.pop_back();
        std::string_view raw = tag.substr(quote + 1, end - quote - 2);
        std::string value;
        std::size_t position = 0;
        while (position < raw.size()) {
            std::string_view entity = decodeUntilEntity(raw, &position, &value);
            if (!entity.empty()) value.append("&").append(entity).append(";");
        }
        attributes.emplace_back(std::move(name), std::move(value));
        at = end;
    }
}

std::string_view innerText(const Piece& piece) {
    std::size_t open = piece.kind == Markup::Comment ? 4 : piece.kind == Markup::CData ? 9 : 2;
    std::size_t close = piece.kind == Markup::Comment || piece.kind == Markup::CData ? 3 : 2;
    return piece.raw.substr(open, piece.raw.size() - open - close);
}

bool isSpace(std::string_view text) {
    for (char c : text) {
        if (!spaceChar(c)) return false;
    }
    return true;
}

std::string_view decodeUntilEntity(std::string_view raw, std::size_t* at, std::string* out) {
    while (*at < raw.size()) {
        std::size_t amp = std::min(raw.find('&', *at), raw.size());
        out->append(raw.substr(*at, amp - *at));
        *at = amp;
        if (amp == raw.size()) break;
        std::size_t semicolon = std::min(raw.find(';', amp), raw.size());
        std::string_view name = raw.substr(amp + 1, semicolon - amp - 1);
        *at = semicolon + 1;
        if (!decodeReference(name, out)) return name;
    }
    return {};
}

Entities internalEntities(std::string_view doctype) {
    Entities entities;
    std::size_t open = doctype.find('[');
    for (std::size_t at = open == std::string_view::npos ? doctype.size() : open + 1; at < doctype.size();) {
        char c = doctype[at];
        if (c == '"' || c == '\'') {
            at = skipQuoted(doctype, at);
        } else if (startsWith(doctype, at, "<!--")) {
            at = std::min(doctype.find("-->", at), doctype.size()) + 3;
        } else if (startsWith(doctype, at, "<!ENTITY")) {
            at = readEntity(doctype, at + 8, &entities);
        } else {
            ++at;
        }
    }
    return entities;
}

std::vector<bool> indentableElements(std::string_view text) {
    struct Open {
        std::size_t index;
        bool markup, text, preserve;
    };
    std::vector<bool> indentable;
    std::vector<Open> open;
    MarkupReader reader(text);
    for (Piece piece; reader.next(&piece);) {
        if (piece.kind == Markup::End) {
            const Open& element = open.back();
            indentable[element.index] = element.markup && !element.text && !element.preserve;
            open.pop_back();
            continue;
        }
        if (open.empty()) {
            if (piece.kind != Markup::Start) continue;
        } else if (piece.kind == Markup::CData || piece.kind == Markup::Text) {
            open.back().text = open.back().text || piece.kind == Markup::CData || !isSpace(piece.raw);
        } else {
            open.back().markup = true;
        }
        if (piece.kind != Markup::Start) continue;
        open.push_back({indentable.size(), false, false,
                        piece.raw.find(" xml:space=\"preserve\"") != std::string_view::npos});
        indentable.push_back(false);
    }
    return indentable;
}

}  // namespace nqtool
