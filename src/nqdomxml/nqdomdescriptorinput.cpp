#include "nqdomxml/nqdomdescriptorinput.h"

#include <unistd.h>

#include <cerrno>

#include <xercesc/util/BinInputStream.hpp>

namespace {

class DescriptorStream : public xercesc::BinInputStream {
public:
    explicit DescriptorStream(int fd) : m_fd(fd) {}
    XMLFilePos curPos() const override { return m_position; }
    // A read error ends the input: the parse then fails as cut short.
    XMLSize_t readBytes(XMLByte* toFill, XMLSize_t maxToRead) override {
        ssize_t count;
        do {
            count = ::read(m_fd, toFill, maxToRead);
        } while (count < 0 && errno == EINTR);
        if (count <= 0) return 0;
        m_position += static_cast<XMLFilePos>(count);
        return static_cast<XMLSize_t>(count);
    }
    const XMLCh* getContentType() const override { return nullptr; }

private:
    int m_fd;
    XMLFilePos m_position = 0;
};

}  // namespace

NqDescriptorInput::NqDescriptorInput(int fd, const XMLCh* systemId) : InputSource(systemId), m_fd(fd) {}

xercesc::BinInputStream* NqDescriptorInput::makeStream() const {
    return new DescriptorStream(m_fd);
}
