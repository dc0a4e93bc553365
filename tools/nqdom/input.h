// Reading the tool's XML inputs: documents, templates and entries files.
#ifndef NQDOM_TOOL_INPUT_H
#define NQDOM_TOOL_INPUT_H

#include <string>

#include "cli.h"

namespace nqtool {

// The whole text of FILE, or of standard input for "-", read once; false
// with the problem.
bool readSource(const std::string& source, NqbString* text, std::string* problem);
// False, with the problem naming `source`, when the text is not well-formed
// or nests elements deeper than `maxNesting`.
bool checkText(const NqbString& text, const std::string& source, std::size_t maxNesting,
               std::string* problem);
// Reads and checks the source, then loads it into `doc`.
bool loadDocument(NqDom& doc, const std::string& source, std::string* problem);
// The compiled template of `file`, or null with the problem.
TemplatePtr compileTemplateFile(const std::string& file, std::string* problem);

}  // namespace nqtool

#endif
