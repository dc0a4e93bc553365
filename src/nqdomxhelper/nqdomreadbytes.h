// Reading a whole file for the bounded load policies.
#ifndef NQDOMREADBYTES_H
#define NQDOMREADBYTES_H

#include "nqxbase.h"

// Every byte of the file, 0 bytes included; otherwise as nqDomReadFileToString.
NqbString nqDomReadFileBytes(const NqbString& fileName, NqbString* error);

#endif
