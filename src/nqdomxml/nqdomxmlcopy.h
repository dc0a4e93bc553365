// Owned copy of an engine string, for when a second conversion through the
// transcoder would overwrite the first.
#ifndef NQDOMXMLCOPY_H
#define NQDOMXMLCOPY_H

#include <xercesc/util/XMLString.hpp>

class NqXmlCopy {
public:
    // A null `text` gives a null copy.
    explicit NqXmlCopy(const XMLCh* text) : m_text(xercesc::XMLString::replicate(text)) {}
    ~NqXmlCopy() { xercesc::XMLString::release(&m_text); }
    NqXmlCopy(const NqXmlCopy&) = delete;
    NqXmlCopy& operator=(const NqXmlCopy&) = delete;

    const XMLCh* get() const { return m_text; }

private:
    XMLCh* m_text;
};

#endif
