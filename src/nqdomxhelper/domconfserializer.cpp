// Lists of configuration entries kept in a "norquilldocument" of class
// "config": one "entries" element holding an "entry" per item.
#include "domconfserializer.h"

#include "nqdommessages.h"

namespace {

const char kRootName[] = "norquilldocument";
const char kClassName[] = "config";
const double kLowestVersion = 1.0;
const double kHighestVersion = 1.999;

bool hasName(const NqDomNode& node, const char* name) {
    return node.getName().compare(name, false) == 0;
}

}  // namespace

DomConfSerializer::DomConfSerializer()
    : m_cursor(m_entries.end()), m_loadPolicy(nqDomGetDefaultLoadPolicy()) {}

void DomConfSerializer::addEntry(const NqbString& name, const NqbString& value,
                                 const NqbString& description) {
    m_entries.push_back(Entry{name, value, description});
}

bool DomConfSerializer::write(const NqbString& fileName) {
    NqDom dom;
    if (!dom.startNewDocument(NqbString(kRootName))) {
        m_errorMessage = dom.getErrorMessage();
        return false;
    }
    NqDomNode root = dom.getRoot();
    root.setAttributeValue(NqbString("class"), NqbString(kClassName));
    root.setAttributeValue(NqbString("version"), NqbString("1"));
    NqDomNode entries = root.addChild(NqbString("entries"));

    const NqbString entryName("entry");
    const NqbString nameAttribute("name");
    const NqbString descriptionName("description");
    const NqbString valueName("value");
    for (m_cursor = m_entries.begin(); m_cursor != m_entries.end(); ++m_cursor) {
        NqDomNode entry = entries.addChild(entryName);
        entry.setAttributeValue(nameAttribute, m_cursor->name);
        if (m_cursor->description.length() != 0)
            entry.addChild(descriptionName).setValue(m_cursor->description);
        entry.addChild(valueName).setValue(m_cursor->value);
    }

    if (!dom.createFile(fileName, true, NqDomNode())) {
        m_errorMessage = dom.getErrorMessage();
        return false;
    }
    return true;
}

bool DomConfSerializer::read(const NqbString& fileName) {
    // Entries added before are dropped even when the read fails.
    m_entries.clear();
    m_cursor = m_entries.end();

    NqDom dom;
    dom.setLoadPolicy(m_loadPolicy);
    if (!dom.loadFile(fileName)) {
        m_errorMessage = dom.getErrorMessage();
        return false;
    }
    NqDomNode root = dom.getRoot();
    if (root.null() || root.getName().compare(kRootName, true) != 0) {
        m_errorMessage = NQ_DATA_FLOW_MESSAGE(NQ_MSG_CONF_ROOT);
        return false;
    }
    // A missing attribute is a null string, which compares like "".
    if (root.getAttributeValue(NqbString("class")).compare(kClassName, true) != 0) {
        m_errorMessage = NQ_DATA_FLOW_MESSAGE(NQ_MSG_CONF_CLASS);
        return false;
    }
    // A missing or non-numeric version is NaN, which is neither below nor
    // above the range, and so passes.
    double version = root.getAttributeValue(NqbString("version")).asDouble(nullptr);
    if (version < kLowestVersion || version > kHighestVersion) {
        m_errorMessage = NQ_DATA_FLOW_MESSAGE(NQ_MSG_CONF_VERSION);
        return false;
    }

    for (NqDomNode child = root.getFirstChild(false); !child.null(); child = child.getNextSibling(false)) {
        if (hasName(child, "entries")) readEntries(child);
    }
    m_cursor = m_entries.begin();
    return true;
}

void DomConfSerializer::readEntries(const NqDomNode& entries) {
    for (NqDomNode child = entries.getFirstChild(false); !child.null(); child = child.getNextSibling(false)) {
        if (hasName(child, "entry")) readEntry(child);
    }
}

void DomConfSerializer::readEntry(const NqDomNode& entry) {
    Entry item;
    item.name = entry.getAttributeValue(NqbString("name"));
    if (item.name.length() == 0) return;
    for (NqDomNode child = entry.getFirstChild(false); !child.null(); child = child.getNextSibling(false)) {
        if (hasName(child, "description")) {
            item.description = child.getValue(false);
        } else if (hasName(child, "value")) {
            item.value = child.getValue(false);
        }
    }
    m_entries.push_back(item);
}

bool DomConfSerializer::getNextEntry(NqbString* name, NqbString* value, NqbString* description) {
    if (m_cursor == m_entries.end()) return false;
    *name = m_cursor->name;
    *value = m_cursor->value;
    *description = m_cursor->description;
    ++m_cursor;
    return true;
}

NqbString DomConfSerializer::getErrorMessage() {
    return m_errorMessage;
}

void DomConfSerializer::release() {
    delete this;
}
