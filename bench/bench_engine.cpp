#include "bench_engine.h"

#include <cstdio>
#include <cstdlib>

#include "nqdom.h"

bool benchEngineStarted() {
    static const bool started = [] {
        char* error = nullptr;
        if (nqDomStartup(nullptr, &error) != 0) {
            std::fprintf(stderr, "engine start failed: %s\n", error ? error : "");
            return false;
        }
        std::atexit(nqDomShutdown);
        return true;
    }();
    return started;
}
