// Start-up internals, visible to the unit tests.
#ifndef NQDOMSTARTUP_INTERNAL_H
#define NQDOMSTARTUP_INTERNAL_H

#include <xercesc/util/XMLException.hpp>

// Copies the message of `failure` into the start-up error buffer (at most 255
// bytes and a NUL), points *errorText at it and returns 1.
int nqDomStartupFailed(const XERCES_CPP_NAMESPACE::XMLException& failure, char** errorText);

#endif
