#include "input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "node_walk.h"

namespace nqtool {
namespace {

bool readStandardInput(NqbString* text, std::string* problem) {
    std::string bytes;
    char block[1 << 16];
    for (std::size_t count; (count = std::fread(block, 1, sizeof block, stdin)) > 0;)
        bytes.append(block, count);
    if (std::ferror(stdin)) {
        *problem = "cannot read standard input";
        return false;
    }
    if (bytes.empty()) {
        *problem = "standard input is empty";
        return false;
    }
    // By length: a 0 byte is the engine's to report, with its position.
    text->assign(bytes.data(), static_cast<int>(bytes.size()));
    return true;
}

}  // namespace

bool checkReadable(const std::string& file, std::string* problem) {
    // Non-blocking, so that a FIFO without a writer does not hang the check.
    int fd = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        int error = errno;
        *problem = "cannot read " + file + ": " +
                   (error == ENOENT   ? "no such file"
                    : error == EACCES ? "permission denied"
                                      : std::strerror(error));
        return false;
    }
    struct stat info;
    bool folder = fstat(fd, &info) == 0 && S_ISDIR(info.st_mode);
    close(fd);
    if (folder) *problem = "cannot read " + file + ": it is a folder";
    return !folder;
}

bool readSource(const std::string& source, NqbString* text, std::string* problem) {
    if (source == "-") return readStandardInput(text, problem);
    if (!checkReadable(source, problem)) return false;
    std::FILE* file = std::fopen(source.c_str(), "rb");
    if (!file) {
        *problem = "cannot read " + source + ": " + std::strerror(errno);
        return false;
    }
    std::string bytes;
    char block[1 << 16];
    for (std::size_t count; (count = std::fread(block, 1, sizeof block, file)) > 0;)
        bytes.append(block, count);
    bool failed = std::ferror(file);
    std::fclose(file);
    if (failed) {
        *problem = "cannot read " + source;
        return false;
    }
    text->assign(bytes.data(), static_cast<int>(bytes.size()));
    return true;
}

bool loadDocument(NqDom& doc, const std::string& source, std::string* problem) {
    bool loaded;
    if (source == "-") {
        NqbString text;
        if (!readStandardInput(&text, problem)) return false;
        loaded = doc.loadXML(text);
    } else {
        if (!checkReadable(source, problem)) return false;
        loaded = doc.loadFile(toNqb(source));
    }
    if (!loaded) *problem = messageText(doc.getErrorMessage());
    return loaded;
}

bool openReader(NqDomReader& reader, const std::string& source, std::string* problem) {
    if (source == "-") return reader.openDescriptor(0);
    if (!checkReadable(source, problem)) return false;
    if (reader.openFile(toNqb(source))) return true;
    *problem = messageText(reader.getErrorMessage());
    return false;
}

bool loadAndSerialize(const std::string& source, NqbString* compact, std::string* problem) {
    NqDom doc;
    if (!loadDocument(doc, source, problem)) return false;
    *compact = doc.createXML(false);
    if (!compact->isNull()) return true;
    *problem = messageText(doc.getErrorMessage());
    return false;
}

namespace {

// CDATA sections and processing instructions, as the library writes them:
// the skeleton is built from elements, attributes and text alone.
class SkeletonGaps {
public:
    explicit SkeletonGaps(NqDom& doc) : m_doc(doc) {}

    bool enter(const NqDomNode& node) {
        NqDomNodeKind kind = node.getKind();
        if (kind == NqDomNodeElement) return true;
        if (kind != NqDomNodeCData && kind != NqDomNodeProcessingInstruction) return false;
        NqbString written = m_doc.createXML(false, node);
        std::string raw(written.asCstr(), static_cast<std::size_t>(written.length()));
        std::string what = (kind == NqDomNodeCData ? "the CDATA section " : "the processing instruction ") +
                           collapseSpace(raw.substr(0, 60).c_str());
        if (raw.size() > 60) what += "...";
        if (raw.find("${") != std::string::npos) what += " with the variables in it";
        dropped.push_back(what);
        return false;
    }
    void leave(const NqDomNode&) {}

    std::vector<std::string> dropped;

private:
    NqDom& m_doc;
};

std::vector<std::string> notInSkeleton(NqDom& doc) {
    SkeletonGaps gaps(doc);
    walkNodes(doc.getDocumentNode(), gaps);
    return gaps.dropped;
}

}  // namespace

TemplatePtr compileTemplateFile(const std::string& file, std::string* problem,
                                std::vector<std::string>* dropped) {
    NqbString text;
    if (!readSource(file, &text, problem)) return nullptr;
    NqDom doc;
    if (doc.loadXML(text)) *dropped = notInSkeleton(doc);
    TemplatePtr compiled(doc.getTemplate(text));
    if (!compiled) *problem = messageText(doc.getErrorMessage());
    return compiled;
}

}  // namespace nqtool
