// External DTDs under the bounded policies: local copies found through XML
// catalogs, no connection to the network, and loads that do without the DTD.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "dom_test_util.h"
#include "test_files.h"

namespace {

const char kCatalogStart[] = "<catalog xmlns='urn:oasis:names:tc:entity:xmlns:xml:catalog'>";

// DTDs on made-up addresses and a catalog chain that maps them to files of
// a temporary folder; XML_CATALOG_FILES names the catalogs for the test.
class Catalogs : public ::testing::Test {
protected:
    void SetUp() override {
        writeBytes(m_dir.file("main.xml"),
                   std::string(kCatalogStart) +
                       "<public publicId='-//T//DTD Article//EN' uri='article.dtd'/>"
                       "<public publicId='-//T//ENTITIES Latin//EN' uri='ent/latin.ent'/>"
                       "<system systemId='http://dtd.invalid/sys.dtd' uri='sys.dtd'/>"
                       "<rewriteSystem systemIdStartString='http://dtd.invalid/rw/' rewritePrefix='rw/'/>"
                       "<nextCatalog catalog='next.xml'/></catalog>");
        writeBytes(m_dir.file("next.xml"), std::string(kCatalogStart) +
                                               "<system systemId='http://dtd.invalid/next.dtd' "
                                               "uri='next.dtd'/></catalog>");
        // As DocBook's: the entities come from a module named by public identifier.
        writeBytes(m_dir.file("article.dtd"),
                   "<!ENTITY % latin PUBLIC '-//T//ENTITIES Latin//EN' 'http://dtd.invalid/latin.ent'>%latin;"
                   "<!ATTLIST a from CDATA 'public'>");
        ::mkdir(m_dir.file("ent").c_str(), 0700);
        writeBytes(m_dir.file("ent/latin.ent"), "<!ENTITY eacute '&#233;'>");
        writeBytes(m_dir.file("sys.dtd"), "<!ENTITY t 't'><!ATTLIST a from CDATA 'system'>");
        ::mkdir(m_dir.file("rw").c_str(), 0700);
        writeBytes(m_dir.file("rw/x.dtd"), "<!ENTITY t 't'><!ATTLIST a from CDATA 'rewritten'>");
        writeBytes(m_dir.file("next.dtd"), "<!ENTITY t 't'><!ATTLIST a from CDATA 'next'>");
        useCatalogs(m_dir.file("main.xml"));
    }
    void TearDown() override {
        ::unsetenv("XML_CATALOG_FILES");
        nqDomSetCatalogFiles(NqbString());
    }
    void useCatalogs(const std::string& files) { ::setenv("XML_CATALOG_FILES", files.c_str(), 1); }

    TempDir m_dir;
};

// Each DTD gives the root a default attribute "from"; an entity reference
// that no DTD declared would vanish from the written text.
struct Mapped {
    const char* doctype;  // what follows "<!DOCTYPE a "
    const char* text;     // the content of the root
    const char* from;     // the default the DTD gives
};

TEST_F(Catalogs, MapPublicAndSystemIdentifiersToLocalFiles) {
    const Mapped cases[] = {
        {"PUBLIC '-//T//DTD Article//EN' 'http://dtd.invalid/article.dtd'", "Caf&eacute;", "public"},
        {"SYSTEM 'http://dtd.invalid/sys.dtd'", "&t;", "system"},
        {"SYSTEM 'http://dtd.invalid/rw/x.dtd'", "&t;", "rewritten"},
        {"SYSTEM 'http://dtd.invalid/next.dtd'", "&t;", "next"},
    };
    for (const Mapped& row : cases) {
        const std::string text = std::string("<!DOCTYPE a ") + row.doctype + "><a>" + row.text + "</a>";
        NqDom dom;
        dom.setLoadPolicy(NqDomLoadStrict);
        ASSERT_TRUE(dom.loadXML(text.c_str())) << text << "\n" << str(dom.getErrorMessage());
        EXPECT_EQ(str(dom.getRoot().getAttributeValue("from")), row.from) << text;
        EXPECT_NE(str(dom.createXML(false)).find(std::string(">") + row.text + "</a>"), std::string::npos)
            << str(dom.createXML(false));
    }
}

TEST_F(Catalogs, NamedByTheHostComeFirst) {
    useCatalogs("");
    NqDom dom;
    dom.setLoadPolicy(NqDomLoadStrict);
    const char* text = "<!DOCTYPE a SYSTEM 'http://dtd.invalid/sys.dtd'><a>&t;</a>";
    EXPECT_FALSE(dom.loadXML(text));
    nqDomSetCatalogFiles(m_dir.file("main.xml").c_str());
    ASSERT_TRUE(dom.loadXML(text)) << str(dom.getErrorMessage());
    EXPECT_EQ(str(dom.getRoot().getAttributeValue("from")), "system");
}

TEST_F(Catalogs, UnreadableOnesAreNamedWhenNothingMapsTheDtd) {
    writeBytes(m_dir.file("bad.xml"), "<catalog><public");
    writeBytes(m_dir.file("other.xml"), "<html/>");
    struct {
        const char* file;
        const char* problem;
    } const cases[] = {{"missing.xml", "cannot be read"},
                       {"bad.xml", "is not well-formed XML"},
                       {"other.xml", "is not an XML catalog"}};
    for (const auto& row : cases) {
        useCatalogs(m_dir.file(row.file) + " " + m_dir.file("main.xml"));
        NqDom dom;
        dom.setLoadPolicy(NqDomLoadStrict);
        EXPECT_TRUE(dom.loadXML("<!DOCTYPE a SYSTEM 'http://dtd.invalid/next.dtd'><a>&t;</a>"))
            << "the catalog after it still maps: " << str(dom.getErrorMessage());
        EXPECT_FALSE(dom.loadXML("<!DOCTYPE a SYSTEM 'http://dtd.invalid/none.dtd'><a/>"));
        EXPECT_NE(
            str(dom.getErrorMessage()).find("; catalog \"" + m_dir.file(row.file) + "\" " + row.problem),
            std::string::npos)
            << str(dom.getErrorMessage());
    }
}

// A socket listening on the loopback address; its port.
class Listener {
public:
    Listener() : m_fd(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (::bind(m_fd, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(m_fd, 8) != 0 ||
            ::getsockname(m_fd, reinterpret_cast<sockaddr*>(&address), &size) != 0)
            ADD_FAILURE() << "no listening socket: " << errno;
        m_port = ntohs(address.sin_port);
    }
    ~Listener() { ::close(m_fd); }
    int port() const { return m_port; }
    // Whether a client has connected since the socket was made.
    bool connected() const {
        const int client = ::accept(m_fd, nullptr, nullptr);
        if (client >= 0) ::close(client);
        return client >= 0;
    }

private:
    int m_fd;
    int m_port = 0;
};

TEST(ExternalDtd, StrictRefusesWhatNoCatalogMapsBeforeAnyConnection) {
    ::setenv("XML_CATALOG_FILES", "", 1);
    const Listener listener;
    const std::string url = "http://127.0.0.1:" + std::to_string(listener.port());
    const std::string texts[] = {
        "<!DOCTYPE a PUBLIC '-//T//DTD A//EN' '" + url + "/a.dtd'><a/>",
        "<!DOCTYPE a [<!ENTITY e SYSTEM '" + url + "/e.txt'>]><a>&e;</a>",
    };
    for (const std::string& text : texts) {
        NqDom dom;
        dom.setLoadPolicy(NqDomLoadStrict);
        ::alarm(20);  // a parser waiting for an answer ends the process
        EXPECT_FALSE(dom.loadXML(text.c_str()));
        ::alarm(0);
        EXPECT_NE(str(dom.getErrorMessage()).find("is on the network, which this load policy does not reach"),
                  std::string::npos)
            << str(dom.getErrorMessage());
        EXPECT_FALSE(listener.connected()) << text;
    }
    ::unsetenv("XML_CATALOG_FILES");
}

struct WithoutDtd {
    const char* body;
    const char* failure;  // null: loads
};

TEST(ExternalDtd, LoadsWithoutItWhenNothingNeedsItAndNamesAMissingEntity) {
    const WithoutDtd cases[] = {
        {"<a k='v'>text &amp; &#233;</a>", nullptr},
        {"<a>&e;</a>", "entity 'e' not found, and the DTD that may declare it was not read"},
        {"<a k='&e;'/>", "entity 'e' not found"},
    };
    for (const WithoutDtd& row : cases) {
        for (const std::string& subset : {std::string(), std::string(" [<!ENTITY e 'inner'>]")}) {
            const std::string text =
                "<!DOCTYPE a SYSTEM 'http://127.0.0.1:9/a.dtd'" + subset + ">" + row.body;
            for (NqDomLoadPolicy policy : {NqDomLoadStrict, NqDomLoadSelfContained}) {
                NqDom dom;
                dom.setLoadPolicy(policy);
                dom.setSkipExternalDtd(true);
                const bool loads = !row.failure || !subset.empty();
                EXPECT_EQ(dom.loadXML(text.c_str()), loads) << text << "\n" << str(dom.getErrorMessage());
                if (loads) continue;
                EXPECT_NE(str(dom.getErrorMessage()).find(row.failure), std::string::npos)
                    << str(dom.getErrorMessage());
            }
        }
    }
}

}  // namespace
