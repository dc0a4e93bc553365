// Node handles on every kind of node: walking, texts, namespaces, edits.
#include <gtest/gtest.h>

#include <dirent.h>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "dom_test_util.h"
#include "test_files.h"

namespace {

const char* const kKindNames[] = {"null", "element", "text",   "cdata",   "comment",
                                  "pi",   "doctype", "entity", "document"};

// One node per line, indented by depth: kind, name, data. Checks each
// child's parent and that walking backwards meets the same kinds.
void outline(const NqDomNode& node, int depth, std::string& out) {
    std::string forward, backward;
    for (NqDomNode child = node.getFirstChildNode(); !child.null(); child = child.getNextSiblingNode()) {
        EXPECT_EQ(str(child.getParentNode().getNodeName()), str(node.getNodeName()));
        forward += kKindNames[child.getKind()];
        out += std::string(2 * depth, ' ') + kKindNames[child.getKind()];
        if (!child.getNodeName().isNull()) out += " " + str(child.getNodeName());
        if (child.getKind() != NqDomNodeElement && !child.getValue(false).isNull())
            out += " '" + str(child.getValue(false)) + "'";
        out += "\n";
        outline(child, depth + 1, out);
    }
    for (NqDomNode child = node.getLastChildNode(); !child.null(); child = child.getPreviousSiblingNode())
        backward = kKindNames[child.getKind()] + backward;
    EXPECT_EQ(forward, backward);
}

std::string outline(const NqDomNode& node) {
    std::string out;
    outline(node, 0, out);
    return out;
}

class NodeKinds : public LoadedDom {
protected:
    // The root's text, and the document as written.
    std::string doc() { return str(m_dom.createXML(false)).substr(kDeclaration.size()); }
};

TEST_F(NodeKinds, EveryKindIsWalkedInDocumentOrder) {
    load(
        "<!DOCTYPE r [<!ENTITY e '<b>in</b>t'>]><!--pro--><?pi d?>"
        "<r>x<![CDATA[c]]>&e;<!--k--><?q  z?></r><!--epi-->");
    NqDomNode document = m_dom.getDocumentNode();
    EXPECT_EQ(document.getKind(), NqDomNodeDocument);
    EXPECT_EQ(outline(document),
              "doctype r\n"
              "comment 'pro'\n"
              "pi pi 'd'\n"
              "element r\n"
              "  text 'x'\n"
              "  cdata 'c'\n"
              "  entity e\n"
              "    element b\n"
              "      text 'in'\n"
              "    text 't'\n"
              "  comment 'k'\n"
              "  pi q 'z'\n"
              "comment 'epi'\n");
    NqDomNode root = m_dom.getRoot();
    EXPECT_EQ(root.getParentNode().getKind(), NqDomNodeDocument);
    EXPECT_TRUE(document.getParentNode().null());
    // The element walk still passes over the new kinds.
    EXPECT_EQ(str(root.getFirstChild(true).getValue(false)), "k");
    EXPECT_TRUE(root.getFirstChild(false).null());
    // Members for elements act on other kinds as on a comment.
    NqDomNode cdata = root.getFirstChildNode().getNextSiblingNode();
    EXPECT_FALSE(cdata.isComment());
    EXPECT_TRUE(cdata.getName().isNull());
    EXPECT_TRUE(cdata.addChild(NqbString("x")).null());
    EXPECT_FALSE(cdata.setAttributeValue("a", "1"));
    // A removed element's handle is a null one for every member.
    NqDomNode b = load("<r><b/></r>").getFirstChild(false);
    b.remove();
    EXPECT_EQ(b.getKind(), NqDomNodeNull);
    EXPECT_TRUE(b.getFirstChild(false).null());
    EXPECT_EQ(b.getAttributeCount(), 0);
}

TEST_F(NodeKinds, TextOfASubtreeInDocumentOrder) {
    const char* const rows[][2] = {
        {"<a>x<b>y<!--c--><?p q?></b><![CDATA[<z>]]>&amp;</a>", "xy<z>&"},
        {"<!DOCTYPE a [<!ENTITY e 'e<i>n</i>'>]><a>1&e;2</a>", "1en2"},
        {"<a/>", ""},
        {"<a>\n  <b> s </b>\n</a>", "\n   s \n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row[0]);
        NqDomNode root = load(row[0]);
        EXPECT_EQ(str(root.getText()), row[1]);
        EXPECT_EQ(str(m_dom.getDocumentNode().getText()), row[1]);
    }
    NqDomNode comment = load("<a><!--c--></a>").getFirstChildNode();
    EXPECT_EQ(str(comment.getText()), "c");
}

TEST_F(NodeKinds, DocumentTypeParts) {
    const char* const rows[][5] = {
        {"<!DOCTYPE html><html/>", "html", "<null>", "<null>", "<null>"},
        {"<!DOCTYPE a PUBLIC '-//P//Q' 'a.dtd' [<!ENTITY e 'x'>]><a/>", "a", "-//P//Q", "a.dtd",
         "<!ENTITY e \"x\">"},
    };
    TempDir dir;
    ASSERT_TRUE(writeBytes(dir.file("a.dtd"), ""));
    m_dom.setLoadPolicy(NqDomLoadStrict);  // a.dtd beside the file
    for (const auto& row : rows) {
        SCOPED_TRACE(row[0]);
        ASSERT_TRUE(writeBytes(dir.file("d.xml"), row[0]));
        EXPECT_TRUE(m_dom.loadFile(NqbString(dir.file("d.xml").c_str())));
        NqDomNode type = m_dom.getDocumentNode().getFirstChildNode();
        EXPECT_EQ(str(type.getNodeName()), row[1]);
        EXPECT_EQ(str(type.getPublicId()), row[2]);
        EXPECT_EQ(str(type.getSystemId()), row[3]);
        EXPECT_EQ(str(type.getInternalSubset()), row[4]);
    }
}

// Element names and the namespace each is in, depth first.
std::string namespaces(const NqDomNode& node) {
    std::string out =
        str(node.getPrefix()) + "|" + str(node.getLocalName()) + "=" + str(node.getNamespaceURI());
    for (NqDomNode child = node.getFirstChild(false); !child.null(); child = child.getNextSibling(false))
        out += " " + namespaces(child);
    return out;
}

TEST_F(NodeKinds, NamespacesResolvedFromTheDeclarationsInScope) {
    NqDomNode root = load(
        "<r xmlns='urn:d' xmlns:p='urn:p'><p:a p:x='1' y='2' xml:lang='en'>t"
        "<b xmlns='' xmlns:p='urn:q'><p:c/><q:d/></b></p:a></r>");
    EXPECT_EQ(namespaces(root), "<null>|r=urn:d p|a=urn:p <null>|b=<null> p|c=urn:q q|d=<null>");
    NqDomNode a = root.getFirstChild(false);
    const char* const attributes[][3] = {{"p:x", "urn:p", "p|x"},
                                         {"y", "<null>", "<null>|y"},
                                         {"xml:lang", "http://www.w3.org/XML/1998/namespace", "xml|lang"}};
    for (int i = 0; i < a.getAttributeCount(); ++i) {
        NqbString name, uri, prefix, local;
        a.getAttributeNameValue(i, &name, nullptr);
        a.getAttributeNamespace(i, &uri, &prefix, &local);
        for (const auto& row : attributes) {
            if (str(name) != row[0]) continue;
            EXPECT_EQ(str(uri), row[1]) << row[0];
            EXPECT_EQ(str(prefix) + "|" + str(local), row[2]) << row[0];
        }
    }
    NqbString uri;
    root.getAttributeNamespace(0, &uri, nullptr, nullptr);
    EXPECT_EQ(str(uri), "http://www.w3.org/2000/xmlns/");
    NqDomNode b = a.getFirstChild(false);
    EXPECT_EQ(str(b.getFirstChild(false).lookupNamespaceURI("p")), "urn:q");
    EXPECT_EQ(str(b.lookupNamespaceURI(NqbString())), "<null>");
    EXPECT_EQ(str(a.getFirstChildNode().lookupNamespaceURI("p")), "urn:p");

    // Built with namespaces: the nodes carry their own.
    ASSERT_TRUE(m_dom.startNewDocumentNS("urn:a", "a:r"));
    NqDomNode child = m_dom.getRoot().addChildNS("urn:b", "c");
    EXPECT_TRUE(child.setAttributeValueNS("urn:x", "x:k", "1"));
    EXPECT_EQ(namespaces(m_dom.getRoot()), "a|r=urn:a <null>|c=urn:b");
    EXPECT_EQ(str(child.lookupNamespaceURI("a")), "urn:a");
    EXPECT_EQ(str(child.lookupNamespaceURI("x")), "urn:x");
    child.getAttributeNamespace(0, &uri, nullptr, nullptr);
    EXPECT_EQ(str(uri), "urn:x");
}

TEST_F(NodeKinds, EditsPlaceNodesPrecisely) {
    struct Row {
        const char* name;
        bool (*edit)(NqDom& dom, NqDomNode root);
        const char* document;
    };
    const Row rows[] = {
        {"insert before",
         [](NqDom&, NqDomNode r) {
             return !r.insertBefore(r.getLastChildNode(), r.getFirstChildNode()).null();
         },
         "<r><c/><a/>t<b/></r>"},
        {"insert before itself",
         [](NqDom&, NqDomNode r) {
             NqDomNode a = r.getFirstChildNode();
             return !r.insertBefore(a, a).null();
         },
         "<r><a/>t<b/><c/></r>"},
        {"new nodes before and last",
         [](NqDom&, NqDomNode r) {
             NqDomNode b = r.getFirstChild(false).getNextSibling(false);
             return !r.addText("1&", b).null() && !r.addCData("<x>", b).null() && !r.addComment("c").null() &&
                    !r.addProcessingInstruction("go", "now", b).null();
         },
         "<r><a/>t1&amp;<![CDATA[<x>]]><?go now?><b/><c/><!--c--></r>"},
        {"prolog and epilogue",
         [](NqDom& d, NqDomNode r) {
             NqDomNode doc = d.getDocumentNode();
             return !doc.addComment("pro", r).null() && !doc.addProcessingInstruction("pi", "").null();
         },
         "<!--pro--><r><a/>t<b/><c/></r><?pi?>"},
        {"set text",
         [](NqDom&, NqDomNode r) { return r.setText("only") && r.getFirstChildNode().setText("new"); },
         "<r>new</r>"},
        {"adjacent texts read as one",
         [](NqDom&, NqDomNode r) {
             return !r.addText("u", r.getLastChildNode()).null() && str(r.getText()) == "tu";
         },
         "<r><a/>t<b/>u<c/></r>"},
        {"remove one attribute",
         [](NqDom&, NqDomNode r) { return r.removeAttribute("k") && !r.removeAttribute("k"); },
         "<r j=\"2\"><a/>t<b/><c/></r>"},
        {"import and move a text",
         [](NqDom& d, NqDomNode r) {
             NqDom other;
             other.loadXML("<o>moved<?p?></o>");
             NqDomNode copy = d.importNode(other.getRoot().getFirstChildNode());
             return !r.insertBefore(copy, r.getFirstChildNode()).null() &&
                    !r.getFirstChild(false).addChild(d.importNode(other.getRoot().getLastChildNode())).null();
         },
         "<r>moved<a><?p?></a>t<b/><c/></r>"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        NqDomNode root = load("<r k='1' j='2'><a/>t<b/><c/></r>");
        if (std::string(row.name) != "remove one attribute")
            root.removeAttribute("j"), root.removeAttribute("k");
        EXPECT_TRUE(row.edit(m_dom, root));
        EXPECT_EQ(doc(), row.document);
    }
}

TEST_F(NodeKinds, RefusedEditsChangeNothing) {
    const char* const source = "<!DOCTYPE r [<!ENTITY e '<i>x</i>'>]><r><a/>t&e;</r>";
    struct Row {
        const char* name;
        bool (*edit)(NqDom& dom, NqDomNode root);
    };
    const Row rows[] = {
        {"reference not a child",
         [](NqDom&, NqDomNode r) { return !r.insertBefore(r.getFirstChildNode(), r).null(); }},
        {"into a text",
         [](NqDom&, NqDomNode r) {
             return !r.getFirstChildNode()
                         .getNextSiblingNode()
                         .insertBefore(r.getFirstChildNode(), NqDomNode())
                         .null();
         }},
        {"a node into itself",
         [](NqDom&, NqDomNode r) {
             NqDomNode a = r.getFirstChildNode();
             return !a.insertBefore(r, NqDomNode()).null();
         }},
        {"text beside the root",
         [](NqDom& d, NqDomNode) { return !d.getDocumentNode().addText("no").null(); }},
        {"a second root",
         [](NqDom& d, NqDomNode r) {
             return !d.getDocumentNode().insertBefore(r.getFirstChildNode(), NqDomNode()).null();
         }},
        {"target not a name",
         [](NqDom&, NqDomNode r) { return !r.addProcessingInstruction("1 x", "d").null(); }},
        {"into entity text",
         [](NqDom&, NqDomNode r) {
             return !r.getLastChildNode().getFirstChildNode().addComment("c").null();
         }},
        {"entity text set",
         [](NqDom&, NqDomNode r) { return r.getLastChildNode().getFirstChildNode().setText("y"); }},
        {"another document's node",
         [](NqDom&, NqDomNode r) {
             NqDom o;
             o.loadXML("<o/>");
             return !r.insertBefore(o.getRoot(), NqDomNode()).null();
         }},
        {"null handles",
         [](NqDom&, NqDomNode r) {
             NqDomNode n;
             return !n.insertBefore(r, NqDomNode()).null() || !r.insertBefore(n, NqDomNode()).null() ||
                    n.setText("x") || n.removeAttribute("a") || !n.addText("t").null();
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        load(source);
        const std::string before = str(m_dom.createXML(false));
        EXPECT_FALSE(row.edit(m_dom, m_dom.getRoot()));
        EXPECT_EQ(str(m_dom.createXML(false)), before);
    }
}

// What a host reading paragraphs needs: the text of each element equals
// the string value libxml2 gives it.
TEST(NodeKindsCorpus, RootTextMatchesXmllint) {
    const std::string corpus = std::string(NQDOM_TOOL_CORPUS);
    std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(corpus.c_str()), closedir);
    ASSERT_TRUE(folder);
    int compared = 0;
    while (dirent* entry = readdir(folder.get())) {
        const std::string name = entry->d_name;
        if (name[0] == '.' || name.size() < 4 || name.substr(name.size() - 4) == ".dtd") continue;
        const std::string path = corpus + "/" + name;
        SCOPED_TRACE(name);
        NqDom dom;
        if (!dom.loadFile(NqbString(path.c_str())) || dom.getRoot().null()) continue;
        std::unique_ptr<FILE, int (*)(FILE*)> pipe(
            popen(("xmllint --nonet --xpath 'string(/*)' '" + path + "' 2>/dev/null").c_str(), "r"), pclose);
        std::string expected;
        char buffer[4096];
        for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe.get())) > 0;)
            expected.append(buffer, n);
        ASSERT_FALSE(expected.empty());
        expected.pop_back();  // the line end xmllint adds
        EXPECT_EQ(str(dom.getRoot().getText()), expected);
        ++compared;
    }
    EXPECT_GE(compared, 20);
}

}  // namespace
