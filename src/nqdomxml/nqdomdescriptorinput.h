// An open file descriptor as the engine's input, read as the parse goes.
#ifndef NQDOMDESCRIPTORINPUT_H
#define NQDOMDESCRIPTORINPUT_H

#include <xercesc/sax/InputSource.hpp>

class NqDescriptorInput : public xercesc::InputSource {
public:
    // `fd` stays the caller's; `systemId` names it in messages.
    NqDescriptorInput(int fd, const XMLCh* systemId);
    xercesc::BinInputStream* makeStream() const override;

private:
    int m_fd;
};

#endif
