// A well-formedness check of XML text. The library's parser runs without an
// error handler: on malformed text it quietly returns the part it managed to
// build. The tool checks the text first so that such input fails loudly.
#ifndef NQDOM_TOOL_XML_CHECK_H
#define NQDOM_TOOL_XML_CHECK_H

#include <cstddef>
#include <string>

namespace nqtool {

struct XmlProblem {
    std::size_t line = 0;    // 1-based
    std::size_t column = 0;  // 1-based, in bytes
    std::string what;
};

// Deepest element nesting accepted in documents. The library and the XML
// engine recurse once per level when they write a document; the tool gives
// them a stack sized for this depth.
constexpr std::size_t kMaxDocumentNesting = 100000;
// Templates cost more per level: every element keeps the XPath of its
// ancestors while variables are collected, so memory grows with the square
// of the depth.
constexpr std::size_t kMaxTemplateNesting = 1000;

// False, with the first problem found, when `text` is not a well-formed XML
// document or nests elements deeper than `maxNesting`. Checks the syntax of
// markup, references and characters, the nesting and the single root
// element; it does not validate against a DTD. Text in a 16-bit encoding is
// left to the parser.
bool checkWellFormed(const char* text, std::size_t length, std::size_t maxNesting, XmlProblem* problem);

// "line L, column C: what"
std::string describe(const XmlProblem& problem);

}  // namespace nqtool

#endif
