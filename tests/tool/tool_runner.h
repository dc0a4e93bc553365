// Runs the built nqdom binary as a user would and captures what it did.
#ifndef NQDOM_TOOL_RUNNER_H
#define NQDOM_TOOL_RUNNER_H

#include <string>
#include <vector>

struct ToolResult {
    int exitCode = -1;  // -1 when the process did not exit normally
    int signal = 0;     // the signal that ended it, if one did
    std::string out;
    std::string err;
    long maxRssKb = 0;  // peak resident memory
};

struct ToolInput {
    std::string stdinText;   // fed to standard input; none when empty
    std::string stdoutPath;  // standard output goes here instead of ToolResult::out
    long fileSizeLimit = 0;  // bytes a file written by the tool may reach; 0: no limit
};

ToolResult runTool(const std::vector<std::string>& args, const ToolInput& input = ToolInput());

// A file of the shipped examples.
std::string examplePath(const std::string& name);

#endif
