#include "input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "markup.h"
#include "xml_check.h"

namespace nqtool {
namespace {

// Appends block by block so that the text exists once in memory. Like the
// library's file reading, the text ends at the first 0 byte.
bool readStandardInput(NqbString* text, std::string* problem) {
    const std::size_t kBlock = 1 << 20;
    std::vector<char> block(kBlock + 1);
    text->assign("");
    for (;;) {
        std::size_t count = std::fread(block.data(), 1, kBlock, stdin);
        block[count] = '\0';
        bool failed = false;
        text->append(block.data(), &failed);
        if (failed) {
            *problem = "out of memory reading standard input";
            return false;
        }
        if (std::memchr(block.data(), '\0', count) || count < kBlock) break;
    }
    if (std::ferror(stdin)) {
        *problem = "cannot read standard input";
        return false;
    }
    if (text->length() == 0) {
        *problem = "standard input is empty";
        return false;
    }
    return true;
}

std::string nameOf(const std::string& source) {
    return source == "-" ? "standard input" : source;
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
    NqbString error;
    *text = nqDomReadFileToString(toNqb(source), &error);
    if (!text->isNull()) return true;
    *problem = messageText(error);
    return false;
}

bool checkText(const NqbString& text, const std::string& source, std::size_t maxNesting,
               std::string* problem) {
    XmlProblem found;
    if (checkWellFormed(text.asCstr(), static_cast<std::size_t>(text.length()), maxNesting, &found))
        return true;
    *problem = nameOf(source) + " is not well-formed XML: " + describe(found);
    return false;
}

// The file is read here rather than by NqDom::loadFile, which reads it the
// same way, because the text has to be checked before it is parsed.
bool loadDocument(NqDom& doc, const std::string& source, std::string* problem) {
    {
        NqbString text;
        if (!readSource(source, &text, problem) || !checkText(text, source, kMaxDocumentNesting, problem)) {
            return false;
        }
        if (!doc.loadXML(text)) {
            *problem = messageText(doc.getErrorMessage());
            return false;
        }
    }
    if (!doc.getRoot().null()) return true;
    *problem = "no document element in " + nameOf(source);
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

// CDATA sections and processing instructions: the skeleton is built from
// elements, attributes and text alone.
std::vector<std::string> notInSkeleton(NqDom& doc) {
    std::vector<std::string> dropped;
    NqbString compact = doc.createXML(false);
    MarkupReader reader(std::string_view(compact.asCstr(), static_cast<std::size_t>(compact.length())));
    for (Piece piece; reader.next(&piece);) {
        if (piece.kind != Markup::CData && piece.kind != Markup::Pi) continue;
        std::string what =
            (piece.kind == Markup::CData ? "the CDATA section " : "the processing instruction ") +
            collapseSpace(std::string(piece.raw.substr(0, 60)).c_str());
        if (piece.raw.size() > 60) what += "...";
        if (piece.raw.find("${") != std::string_view::npos) what += " with the variables in it";
        dropped.push_back(what);
    }
    return dropped;
}

TemplatePtr compileTemplateFile(const std::string& file, std::string* problem,
                                std::vector<std::string>* dropped) {
    NqbString text;
    if (!readSource(file, &text, problem) || !checkText(text, file, kMaxTemplateNesting, problem))
        return nullptr;
    NqDom doc;
    if (doc.loadXML(text)) *dropped = notInSkeleton(doc);
    TemplatePtr compiled(doc.getTemplate(text));
    if (!compiled) *problem = messageText(doc.getErrorMessage());
    return compiled;
}

}  // namespace nqtool
