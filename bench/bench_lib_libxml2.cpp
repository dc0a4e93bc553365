// libxml2 as a reference point: native UTF-8, so the walk only reads
// pointers and lengths.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstring>
#include <memory>

#include "bench_libraries.h"

namespace bench {
namespace {

std::size_t length(const xmlChar* text) {
    return text ? std::strlen(reinterpret_cast<const char*>(text)) : 0;
}

class Libxml2Library : public Library {
public:
    ~Libxml2Library() override { unload(true); }

    const char* name() const override { return "libxml2"; }

    void prepare(const Input& input) override { m_input = &input; }

    // NOENT leaves each attribute value as one text node; HUGE lifts the
    // depth limit of 256 that the deep inputs exceed.
    bool load() override {
        unload(false);
        m_document = xmlReadMemory(m_input->xml.data(), static_cast<int>(m_input->xml.size()), "dummy",
                                   nullptr, XML_PARSE_NOENT | XML_PARSE_HUGE | XML_PARSE_NONET);
        return m_document && xmlDocGetRootElement(m_document);
    }

    void unload(bool all) override {
        if (m_document) xmlFreeDoc(m_document);
        m_document = nullptr;
        if (all) m_input = nullptr;
    }

    WalkCounts walk() override {
        WalkCounts counts;
        xmlNode* root = xmlDocGetRootElement(m_document);
        xmlNode* node = root;
        while (node) {
            visit(node, counts);
            node = nextElement(node, root);
        }
        return counts;
    }

    std::size_t serialize() override {
        xmlChar* text = nullptr;
        int size = 0;
        xmlDocDumpMemoryEnc(m_document, &text, &size, "UTF-8");
        xmlFree(text);
        return static_cast<std::size_t>(size);
    }

private:
    static xmlNode* firstElement(xmlNode* node) {
        while (node && node->type != XML_ELEMENT_NODE) node = node->next;
        return node;
    }

    static xmlNode* nextElement(xmlNode* node, xmlNode* root) {
        if (xmlNode* child = firstElement(node->children)) return child;
        while (node && node != root) {
            if (xmlNode* sibling = firstElement(node->next)) return sibling;
            node = node->parent;
        }
        return nullptr;
    }

    static void visit(xmlNode* node, WalkCounts& counts) {
        ++counts.elements;
        counts.bytes += length(node->name);
        for (xmlAttr* attribute = node->properties; attribute; attribute = attribute->next) {
            ++counts.attributes;
            counts.bytes += length(attribute->name);
            if (attribute->children) counts.bytes += length(attribute->children->content);
        }
        std::size_t joined = 0;
        for (xmlNode* child = node->children; child; child = child->next) {
            if (child->type == XML_TEXT_NODE) {
                joined += (joined ? 1 : 0) + length(child->content);
            } else if (child->type == XML_COMMENT_NODE) {
                ++counts.comments;
                counts.bytes += length(child->content);
            }
        }
        counts.bytes += joined;
    }

    const Input* m_input = nullptr;
    xmlDoc* m_document = nullptr;
};

}  // namespace

std::unique_ptr<Library> makeLibxml2Library() {
    return std::make_unique<Libxml2Library>();
}

}  // namespace bench
