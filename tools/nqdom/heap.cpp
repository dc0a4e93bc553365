// The tool's heap: jemalloc, backed by transparent huge pages. Loading a
// large document makes millions of small allocations spread over hundreds of
// megabytes, and the engine's load is then bound by address translation:
// with 2 MB pages it takes about half the CPU time of glibc's default heap.
// jemalloc reads this setting when it starts.
extern "C" {
__attribute__((used, visibility("default"))) const char* malloc_conf = "thp:always,metadata_thp:always";
}
