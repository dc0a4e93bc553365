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
// The bytes of FILE, or of standard input for "-", read once; false with
// the problem.
bool readSource(const std::string& source, NqbString* text, std::string* problem);
// Loads the source into `doc` under the process's load policy: a file with
// loadFile, so that relative references resolve against its folder.
bool loadDocument(NqDom& doc, const std::string& source, std::string* problem);
// Opens `reader` on the source: a file, or standard input for "-".
bool openReader(NqDomReader& reader, const std::string& source, std::string* problem);
// Loads the source and gives the library's compact text of it; the document
// itself is gone when this returns.
bool loadAndSerialize(const std::string& source, NqbString* compact, std::string* problem);
// The compiled template of `file`, or null with the problem. `dropped`
// receives what the template holds and its skeleton does not carry.
TemplatePtr compileTemplateFile(const std::string& file, std::string* problem,
                                std::vector<std::string>* dropped);

}  // namespace nqtool

#endif
