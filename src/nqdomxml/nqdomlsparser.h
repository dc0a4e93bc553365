// The engine's parser, with one repair: the engine writes the values of the
// internal subset between double quotes as they are, so a value holding a
// quote made the written document unreadable. This parser escapes them.
#ifndef NQDOMLSPARSER_H
#define NQDOMLSPARSER_H

#include <xercesc/parsers/DOMLSParserImpl.hpp>

class NqDomLSParser : public xercesc::DOMLSParserImpl {
public:
    explicit NqDomLSParser(xercesc::MemoryManager* manager) : DOMLSParserImpl(nullptr, manager, nullptr) {}

protected:
    void attDef(const xercesc::DTDElementDecl& element, const xercesc::DTDAttDef& attribute,
                bool ignoring) override;
    void entityDecl(const xercesc::DTDEntityDecl& entity, bool isParameter, bool isIgnored) override;
};

#endif
