// The least a host does to rewrite a document: load the file under the same
// load policy as nqdom and write it back compact to stdout. Built and timed
// by scripts/compare_tool.sh beside the tool and xmllint.
#include <cstdio>

#include "nqdom.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: bare_host FILE\n");
        return 2;
    }
    char* error = nullptr;
    if (nqDomStartup(nullptr, &error) != 0) return 1;
    nqDomSetDefaultLoadPolicy(NqDomLoadSelfContained);
    int status = 1;
    {
        NqDom doc;
        if (doc.loadFile(NqbString(argv[1]))) {
            NqbString text = doc.createXML(false);
            status = std::fwrite(text.asCstr(), 1, static_cast<std::size_t>(text.length()), stdout) ==
                             static_cast<std::size_t>(text.length())
                         ? 0
                         : 1;
        } else {
            std::fprintf(stderr, "%s\n", doc.getErrorMessage().asCstr());
        }
    }
    nqDomShutdown();
    return status;
}
