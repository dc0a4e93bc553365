// The interface factory: hands out new objects by interface name.
#include <cstring>

#include "domconfserializer.h"
#include "nqdom.h"

extern "C" NQDOM_API NqbConfSerializer* nqDomGetInterface(const char* interfaceName) {
    if (interfaceName == nullptr || std::strcmp(interfaceName, "NqbConfSerializer") != 0) return nullptr;
    return new DomConfSerializer();
}
