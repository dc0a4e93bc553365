// Build identity, readable by hosts under these plain names.
#include "nqdom.h"

extern "C" {
NQDOM_API int nqx_build_number = 32;
NQDOM_API const char* nqx_build_info = "DOM Library version 2.8 (build 32)";
NQDOM_API const char* nqx_build_version = "2.8";
}
