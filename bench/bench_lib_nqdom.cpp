// The library under test.
#include <memory>
#include <vector>

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

    // No parent link on a node handle: the walk keeps its own stack, which
    // is reused from walk to walk.
    WalkCounts walk() override {
        WalkCounts counts;
        NqDomNode root = m_dom->getRoot();
        visit(root, counts);
        m_stack.clear();
        pushIfElement(root.getFirstChild(false));
        while (!m_stack.empty()) {
            NqDomNode node = m_stack.back();
            m_stack.pop_back();
            visit(node, counts);
            pushIfElement(node.getNextSibling(false));
            pushIfElement(node.getFirstChild(false));
        }
        return counts;
    }

    std::size_t serialize() override {
        NqbString text = m_dom->createXML(false);
        return static_cast<std::size_t>(text.length());
    }

private:
    void pushIfElement(const NqDomNode& node) {
        if (!node.null()) m_stack.push_back(node);
    }

    static void visit(const NqDomNode& node, WalkCounts& counts) {
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
        NqbString text = node.getValue(false);
        counts.bytes += static_cast<std::uint64_t>(text.length());
    }

    NqbString m_text;
    std::unique_ptr<NqDom> m_dom;
    std::vector<NqDomNode> m_stack;
};

}  // namespace

std::unique_ptr<Library> makeNqDomLibrary() {
    return std::make_unique<NqDomLibrary>();
}

}  // namespace bench
