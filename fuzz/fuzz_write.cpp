// Editing through the API, then writing: the input is a sequence of
// operations on a document loaded from a short list or started new. Both
// outputs, plain and pretty, must read back under Strict as the tree the
// API shows, or the write must fail for a character XML 1.0 cannot carry.
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "tree_outline.h"

namespace {

const char* const kDocuments[] = {
    "<r/>",
    ("<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\">"
     "<g><a xlink:href=\"#x\">t</a></g></svg>"),
    "<p:r xmlns:p=\"urn:a\" xmlns=\"urn:d\"><p:c p:k=\"1\"><e>x<![CDATA[c]]>y</e></p:c><!--c--><?t d?></p:r>",
    "<?xml version=\"1.0\"?><!DOCTYPE r [<!ENTITY e \"ent\">]><r a=\"&#9;\">&e;<b>&amp;</b></r>",
};
const char* const kNames[] = {"a", "p:b", "q:c", "xlink:t", "d", "e"};
const char* const kUris[] = {"urn:a", "urn:b", "http://www.w3.org/1999/xlink", "", "urn:d"};
const char* const kAttributeNames[] = {"k", "p:k", "xmlns:p", "xmlns", "q:j", "xmlns:q", "xml:lang"};
const char* const kQualifiedNames[] = {"p:x", "x", "q:y", "p:z", "xlink:title"};
const char* const kTargets[] = {"t", "xml", "XmL", "xml-stylesheet"};
// Characters from every range XML text meets, and some it cannot carry.
const unsigned kCharacters[] = {'a',    ' ',    '-',    '?',    '>',    ']',     '<',     '&',  '"',
                                0x9,    0xA,    0xD,    0x1,    0x1F,   0x7F,    0x85,    0xE9, 0x2028,
                                0xD7FF, 0xE000, 0xFFFD, 0xFFFE, 0xFFFF, 0x10000, 0x10FFFF};

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}
    bool more() const { return m_at < m_size; }
    unsigned byte() { return m_at < m_size ? m_data[m_at++] : 0; }
    template <typename T, std::size_t N>
    const T& pick(const T (&list)[N]) {
        return list[byte() % N];
    }
    std::string text() {
        std::string out;
        for (unsigned n = byte() % 8; n > 0; --n) appendUtf8(out, pick(kCharacters));
        return out;
    }

private:
    static void appendUtf8(std::string& out, unsigned c) {
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }

    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_at = 0;
};

NqbString nq(const std::string& text) {
    NqbString out;
    out.assign(text.data(), static_cast<int>(text.size()));
    return out;
}

struct Session {
    NqDom dom;
    NqDom other;  // where imported nodes come from: loaded,
    NqDom built;  // and built through the API
    std::vector<NqDomNode> nodes;

    void reset() {
        nodes.clear();
        nodes.push_back(dom.getDocumentNode());
        if (!dom.getRoot().null()) nodes.push_back(dom.getRoot());
    }
    void keep(const NqDomNode& node) {
        if (!node.null() && nodes.size() < 64) nodes.push_back(node);
    }
    NqDomNode& pick(Input& in) { return nodes[in.byte() % nodes.size()]; }

    void apply(Input& in) {
        const unsigned op = in.byte() % 16;
        if (op == 0) {
            fuzz::check(dom.loadXML(in.pick(kDocuments)), "a listed document does not load");
            return reset();
        }
        if (op == 1) {
            const char* uri = in.pick(kUris);
            const bool ok =
                *uri ? dom.startNewDocumentNS(uri, in.pick(kQualifiedNames)) : dom.startNewDocument("r");
            fuzz::check(ok, "a new document was refused");
            return reset();
        }
        NqDomNode& node = pick(in);
        switch (op) {
            case 2:
                return keep(node.addChild(in.pick(kNames)));
            case 3: {
                const char* uri = in.pick(kUris);
                return keep(node.addChildNS(uri, *uri ? in.pick(kQualifiedNames) : "x"));
            }
            case 4:
                return keep(node.addText(nq(in.text()), pick(in)));
            case 5:
                return keep(node.addCData(nq(in.text()), pick(in)));
            case 6:
                return keep(node.addComment(nq(in.text()), pick(in)));
            case 7:
                return keep(node.addProcessingInstruction(in.pick(kTargets), nq(in.text()), pick(in)));
            case 8:
                node.insertBefore(pick(in), pick(in));
                return;
            case 9: {
                NqDom& from = in.byte() % 2 ? other : built;
                if (!from.getRoot().null()) keep(node.addChild(dom.importNode(from.getRoot())));
                return;
            }
            case 10:
                if (node.getKind() != NqDomNodeDocument &&
                    node.getParentNode().getKind() != NqDomNodeDocument)
                    node.remove();
                return;
            case 11:
                node.setAttributeValue(in.pick(kAttributeNames), nq(in.text()));
                return;
            case 12:
                node.setAttributeValueNS(in.pick(kUris), in.pick(kQualifiedNames), nq(in.text()));
                return;
            case 13:
                node.clearAttributes();
                return;
            case 14:
                node.removeAttribute(in.pick(kAttributeNames));
                return;
            default:
                node.setText(nq(in.text()));
                return;
        }
    }
};

// An edit can move the root into another element, or remove it.
bool rootless(NqDom& dom) {
    for (NqDomNode child = dom.getDocumentNode().getFirstChildNode(); !child.null();
         child = child.getNextSiblingNode()) {
        if (child.getKind() == NqDomNodeElement) return false;
    }
    return true;
}

// Writes `node` (null: the document) and reads it back.
void writeAndRead(NqDom& dom, const NqDomNode& node) {
    const NqDomNode top = node.null() ? dom.getDocumentNode() : node;
    const std::string before = treeOutline(top, false);
    for (const bool pretty : {false, true}) {
        const NqbString text = dom.createXML(pretty, node);
        fuzz::check(treeOutline(top, false) == before, "writing changed the document");
        if (text.isNull()) {
            const std::string message = dom.getErrorMessage().isNull() ? "" : dom.getErrorMessage().asCstr();
            const bool explained = message.rfind("LibXML 348: ", 0) == 0 ||
                                   (message.rfind("LibXML 351: ", 0) == 0 && node.null() && rootless(dom));
            if (!explained) fuzz::fail("write failed: " + message);
            return;
        }
        NqDom again;
        again.setLoadPolicy(NqDomLoadStrict);
        if (!again.loadXML(text))
            fuzz::fail(std::string("output does not read back: ") + again.getErrorMessage().asCstr() + "\n" +
                       text.asCstr());
        const NqDomNode back = node.null() ? again.getDocumentNode() : again.getRoot();
        if (treeOutline(back, pretty) != treeOutline(top, pretty))
            fuzz::fail("output reads back as another tree:\n" + treeOutline(top, pretty) +
                       "--- read back:\n" + treeOutline(back, pretty) + "--- text:\n" + text.asCstr());
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::startEngine();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    Session session;
    fuzz::check(session.other.loadXML(kDocuments[2]), "the document to import from does not load");
    fuzz::check(session.built.startNewDocument("s"), "the document to import from cannot be made");
    fuzz::check(!session.built.getRoot().addCData("a]]>b").null(), "a CDATA section cannot be made");
    session.dom.startNewDocument("r");
    session.reset();
    for (int steps = 0; in.more() && steps < 64; ++steps) session.apply(in);
    writeAndRead(session.dom, NqDomNode());
    // An element written alone has no document type to declare the entities
    // it refers to; those are left out.
    const NqDomNode& some = session.nodes.back();
    if (some.getKind() == NqDomNodeElement && treeOutline(some, false).find("node 7 ") == std::string::npos)
        writeAndRead(session.dom, some);
    return 0;
}
