// Reading the tool's XML inputs: documents, templates and entries files.
#ifndef NQDOM_TOOL_INPUT_H
#define NQDOM_TOOL_INPUT_H

#include <string>
#include <vector>

#include "cli.h"

namespace nqtool {

// False, with a message that tells a missing file, an unreadable one and a
// folder apart, when `file` cannot be opened for reading.
bool checkReadable(const std::string& file, std::string* problem);
// The whole text of FILE, or of standard input for "-", read once; false
// with the problem.
bool readSource(const std::string& source, NqbString* text, std::string* problem);
// False, with the problem naming `source`, when the text is not well-formed
// or nests elements deeper than `maxNesting`.
bool checkText(const NqbString& text, const std::string& source, std::size_t maxNesting,
               std::string* problem);
// Reads and checks the source, then loads it into `doc`.
bool loadDocument(NqDom& doc, const std::string& source, std::string* problem);
// Loads the source and gives the library's compact text of it; the document
// itself is gone when this returns.
bool loadAndSerialize(const std::string& source, NqbString* compact, std::string* problem);
// The compiled template of `file`, or null with the problem. `dropped`
// receives what the template holds and its skeleton does not carry.
TemplatePtr compileTemplateFile(const std::string& file, std::string* problem,
                                std::vector<std::string>* dropped);

}  // namespace nqtool

#endif
