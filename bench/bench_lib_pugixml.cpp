// pugixml as a reference point: native UTF-8, so the walk only reads
// pointers and lengths.
#include <pugixml.hpp>

#include <cstring>
#include <memory>

#include "bench_libraries.h"

namespace bench {
namespace {

class StringWriter : public pugi::xml_writer {
public:
    void write(const void* data, std::size_t size) override {
        m_text.append(static_cast<const char*>(data), size);
    }
    std::string m_text;
};

class PugixmlLibrary : public Library {
public:
    const char* name() const override { return "pugixml"; }

    void prepare(const Input& input) override { m_input = &input; }

    bool load() override {
        m_document = std::make_unique<pugi::xml_document>();
        pugi::xml_parse_result result =
            m_document->load_buffer(m_input->xml.data(), m_input->xml.size(),
                                    pugi::parse_default | pugi::parse_comments, pugi::encoding_utf8);
        return result && m_document->document_element();
    }

    void unload(bool all) override {
        m_document.reset();
        if (all) m_input = nullptr;
    }

    WalkCounts walk() override {
        WalkCounts counts;
        pugi::xml_node root = m_document->document_element();
        pugi::xml_node node = root;
        while (node) {
            visit(node, counts);
            node = nextElement(node, root);
        }
        return counts;
    }

    std::size_t serialize() override {
        StringWriter writer;
        m_document->save(writer, "", pugi::format_raw, pugi::encoding_utf8);
        return writer.m_text.size();
    }

private:
    static pugi::xml_node firstElement(pugi::xml_node node) {
        while (node && node.type() != pugi::node_element) node = node.next_sibling();
        return node;
    }

    static pugi::xml_node nextElement(pugi::xml_node node, pugi::xml_node root) {
        if (pugi::xml_node child = firstElement(node.first_child())) return child;
        while (node && node != root) {
            if (pugi::xml_node sibling = firstElement(node.next_sibling())) return sibling;
            node = node.parent();
        }
        return pugi::xml_node();
    }

    static void visit(pugi::xml_node node, WalkCounts& counts) {
        ++counts.elements;
        counts.bytes += std::strlen(node.name());
        for (pugi::xml_attribute attribute : node.attributes()) {
            ++counts.attributes;
            counts.bytes += std::strlen(attribute.name()) + std::strlen(attribute.value());
        }
        std::size_t joined = 0;
        for (pugi::xml_node child : node.children()) {
            if (child.type() == pugi::node_pcdata) {
                joined += (joined ? 1 : 0) + std::strlen(child.value());
            } else if (child.type() == pugi::node_comment) {
                ++counts.comments;
                counts.bytes += std::strlen(child.value());
            }
        }
        counts.bytes += joined;
    }

    const Input* m_input = nullptr;
    std::unique_ptr<pugi::xml_document> m_document;
};

}  // namespace

std::unique_ptr<Library> makePugixmlLibrary() {
    return std::make_unique<PugixmlLibrary>();
}

}  // namespace bench
