// nqdom version: the build identity of the library in use.
#include "cli.h"
#include "commands.h"

namespace nqtool {
namespace {

const CommandInfo kInfo = {"version", "version", "Prints the build identity of the loaded library.\n",
                           {},        0,         0};

}  // namespace

int runVersion(const Words& argv) {
    Args args;
    int status = parseArgs(kInfo, argv, &args);
    if (status >= 0) return status;
    writeOut(std::string(nqx_build_info) + "\n");
    return finishOutput(kInfo);
}

}  // namespace nqtool
