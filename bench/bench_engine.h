// Engine start for the benchmarks that run on their own.
#ifndef BENCH_ENGINE_H
#define BENCH_ENGINE_H

// Starts the XML engine on first call, for the rest of the process; false
// (after a message on stderr) when it can't be started.
bool benchEngineStarted();

#endif
