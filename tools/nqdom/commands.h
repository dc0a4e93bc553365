// Entry points of the nqdom commands; each takes the words after its name.
#ifndef NQDOM_TOOL_COMMANDS_H
#define NQDOM_TOOL_COMMANDS_H

#include <string>
#include <vector>

namespace nqtool {

using Words = std::vector<std::string>;

int runVersion(const Words& argv);
int runFormat(const Words& argv);
int runTree(const Words& argv);
int runConf(const Words& argv);
int runTemplate(const Words& argv);
int runFill(const Words& argv);
int runRecords(const Words& argv);

}  // namespace nqtool

#endif
