// The configuration-entries serializer handed out by nqDomGetInterface.
#ifndef DOMCONFSERIALIZER_H
#define DOMCONFSERIALIZER_H

#include <list>

#include "nqdom.h"

class DomConfSerializer : public NqbConfSerializer {
public:
    struct Entry {
        NqbString name;
        NqbString value;
        NqbString description;
    };

    DomConfSerializer();
    virtual ~DomConfSerializer() = default;
    DomConfSerializer(const DomConfSerializer&) = delete;
    DomConfSerializer& operator=(const DomConfSerializer&) = delete;

    void addEntry(const NqbString& name, const NqbString& value, const NqbString& description) override;
    bool write(const NqbString& fileName) override;
    bool read(const NqbString& fileName) override;
    bool getNextEntry(NqbString* name, NqbString* value, NqbString* description) override;
    NqbString getErrorMessage() override;
    void release() override;

private:
    void readEntries(const NqDomNode& entries);
    void readEntry(const NqDomNode& entry);

    std::list<Entry> m_entries;
    std::list<Entry>::iterator m_cursor;
    NqbString m_errorMessage;
    // The process default when the serializer was made.
    NqDomLoadPolicy m_loadPolicy;
};

#endif
