// Reading the compact XML text the library writes (createXML(false)). The
// node handles reach elements and comments only; that text also holds CDATA
// sections, entity references, processing instructions and the document
// type. It is well-formed, its attribute values are quoted and escaped, and
// nothing but markup stands outside the root element.
#ifndef NQDOM_TOOL_MARKUP_H
#define NQDOM_TOOL_MARKUP_H

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace nqtool {

enum class Markup { Declaration, Doctype, Comment, Pi, Start, Empty, End, CData, Text };

struct Piece {
    Markup kind;
    std::string_view raw;  // the markup or text exactly as written
};

class MarkupReader {
public:
    explicit MarkupReader(std::string_view text) : m_text(text) {}
    // The next piece; false at the end of the text.
    bool next(Piece* piece);

private:
    std::size_t endOf(std::size_t from, std::string_view terminator) const;
    std::size_t endOfTag(std::size_t from) const;
    std::size_t endOfDoctype(std::size_t from) const;

    std::string_view m_text;
    std::size_t m_at = 0;
};

using Attributes = std::vector<std::pair<std::string, std::string>>;
using Entities = std::map<std::string, std::string, std::less<>>;

// Name of a start, empty-element or end tag.
std::string_view tagName(std::string_view tag);
// Names and decoded values of a tag's attributes, in order.
Attributes attributesOf(std::string_view tag);
// Text of a comment, CDATA section or processing instruction without its
// delimiters.
std::string_view innerText(const Piece& piece);
bool isSpace(std::string_view text);

// Decodes character and predefined entity references in `raw` from `*at` on,
// appending to `out`, and stops after the end or at a reference to another
// entity, whose name it returns (empty at the end).
std::string_view decodeUntilEntity(std::string_view raw, std::size_t* at, std::string* out);

// The internal general entities the document type declares, by name, with
// their replacement text (character references decoded).
Entities internalEntities(std::string_view doctype);

// For each element with content, in the order of their start tags: whether
// it holds elements, comments or processing instructions and nothing but
// white space between them, so that indenting it changes no text. Inside
// mixed content or xml:space="preserve" nothing is.
std::vector<bool> indentableElements(std::string_view text);

}  // namespace nqtool

#endif
