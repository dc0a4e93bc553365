// The library under test.
#include <memory>

#include "bench_libraries.h"
#include "nqdom.h"

namespace bench {
namespace {

class NqDomLibrary : public Library {
public:
    const char* name() const override { return "nqdom"; }

    void prepare(const Input& input) override {
        m_text.assign(input.xml.data(), static_cast<int>(input.xml.size()));
    }

    bool load() override {
        m_dom = std::make_unique<NqDom>();
        return m_dom->loadXML(m_text) && !m_dom->getRoot().null();
    }

    void unload(bool all) override {
        m_dom.reset();
        if (all) m_text = NqbString();
    }

    WalkCounts walk() override {
        WalkCounts counts;
        walkFrom(m_dom->getRoot(), counts);
        return counts;
    }

    bool walksTexts() const override { return true; }

    std::uint64_t walkTexts() override { return textsFrom(m_dom->getRoot()); }

    std::size_t serialize() override {
        NqbString text = m_dom->createXML(false);
        return static_cast<std::size_t>(text.length());
    }

private:
    static std::uint64_t textsFrom(const NqDomNode& element) {
        NqbString text = element.getText();
        std::uint64_t bytes = static_cast<std::uint64_t>(text.length());
        for (NqDomNode child = element.getFirstChild(false); !child.null();
             child = child.getNextSibling(false))
            bytes += textsFrom(child);
        return bytes;
    }

    // Elements and comments in document order, each visited before its children.
    static void walkFrom(const NqDomNode& node, WalkCounts& counts) {
        if (node.isComment()) {
            ++counts.comments;
            counts.bytes += static_cast<std::uint64_t>(node.getValue(false).length());
            return;
        }
        visitElement(node, counts);
        for (NqDomNode child = node.getFirstChild(true); !child.null(); child = child.getNextSibling(true))
            walkFrom(child, counts);
    }

    static void visitElement(const NqDomNode& node, WalkCounts& counts) {
        ++counts.elements;
        NqbString name = node.getName();
        counts.bytes += static_cast<std::uint64_t>(name.length());
        int attributes = node.getAttributeCount();
        for (int i = 0; i < attributes; ++i) {
            NqbString attributeName, attributeValue;
            node.getAttributeNameValue(i, &attributeName, &attributeValue);
            counts.bytes += static_cast<std::uint64_t>(attributeName.length() + attributeValue.length());
        }
        counts.attributes += static_cast<std::uint64_t>(attributes);
        NqbString text = node.getValue(true);
        counts.bytes += static_cast<std::uint64_t>(text.length());
    }

    NqbString m_text;
    std::unique_ptr<NqDom> m_dom;
};

}  // namespace

std::unique_ptr<Library> makeNqDomLibrary() {
    return std::make_unique<NqDomLibrary>();
}

}  // namespace bench
