// What an NqDomReader holds: its input, the parser and the current node.
#ifndef NQDOMREADERSTATE_H
#define NQDOMREADERSTATE_H

#include <memory>

#include <xercesc/sax/InputSource.hpp>

#include "nqdom.h"
#include "nqdomxml/nqdommemorybudget.h"
#include "nqdomxml/nqdomreadparser.h"

class NqDomReaderState {
public:
    // Drops the input; the policy stays.
    void close();
    // Starts the parse of `input` (adopted), named `id`.
    void start(xercesc::InputSource* input, const NqbString& id, bool file, long long size);
    // Makes the first waiting event current, parsing as far as needed; an
    // empty queue after the parse is over is the failure.
    NqDomReadKind fill();
    void advance();
    bool ready() const;

    NqDomLoadPolicy policy = nqDomGetDefaultLoadPolicy();
    NqXMLTranscoder transcoder;
    NqbString text;
    NqbString systemId;
    bool fromFile = false;
    NqDomReadKind kind = NqDomReadNone;
    const NqReadEvent* current = nullptr;
    NqbString error;
    // Destroyed in reverse: the parser before the memory and input it uses.
    std::unique_ptr<xercesc::InputSource> source;
    std::unique_ptr<NqMemoryBudget> budget;
    std::unique_ptr<NqReadParser> parser;
};

#endif
