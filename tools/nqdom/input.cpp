#include "input.h"

#include <sys/stat.h>

#include <cstring>
#include <vector>

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

bool readSource(const std::string& source, NqbString* text, std::string* problem) {
    if (source == "-") return readStandardInput(text, problem);
    // The library would take a directory's size for a file's and fail to
    // allocate it.
    struct stat info;
    if (stat(source.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
        *problem = source + " is a directory";
        return false;
    }
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

TemplatePtr compileTemplateFile(const std::string& file, std::string* problem) {
    NqbString text;
    if (!readSource(file, &text, problem) || !checkText(text, file, kMaxTemplateNesting, problem))
        return nullptr;
    NqDom doc;
    TemplatePtr compiled(doc.getTemplate(text));
    if (!compiled) *problem = messageText(doc.getErrorMessage());
    return compiled;
}

}  // namespace nqtool
