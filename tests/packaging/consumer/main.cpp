// A host program built against the installed library.
#include <cstdio>

#include "nqdom.h"

int main() {
    char* error = nullptr;
    if (nqDomStartup(nullptr, &error) != 0) {
        std::fprintf(stderr, "startup failed: %s\n", error);
        return 1;
    }
    int rc = 1;
    {
        NqDom doc;
        if (doc.startNewDocument(NqbString("greeting", true))) {
            doc.getRoot().setValue(NqbString("hello", true));
            std::printf("%s\n%s\n", nqx_build_info, doc.createXML(false).asCstr());
            rc = 0;
        }
    }
    nqDomShutdown();
    return rc;
}
