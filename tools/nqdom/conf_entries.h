// Configuration entries files as lists, through the library's serializer.
#ifndef NQDOM_TOOL_CONF_ENTRIES_H
#define NQDOM_TOOL_CONF_ENTRIES_H

#include <string>
#include <vector>

#include "cli.h"

namespace nqtool {

struct ConfEntry {
    NqbString name;
    NqbString value;
    NqbString description;
};

// A new serializer, or null with *problem set.
SerializerPtr makeSerializer(std::string* problem);
// All entries of `file` in file order; false with the library's message.
bool readEntries(const std::string& file, std::vector<ConfEntry>* entries, std::string* problem);
// Writes the entries to a temporary file beside `file`, then renames it over
// `file`, so that a failure leaves an existing file as it was.
bool replaceEntries(const std::string& file, const std::vector<ConfEntry>& entries, std::string* problem);

}  // namespace nqtool

#endif
