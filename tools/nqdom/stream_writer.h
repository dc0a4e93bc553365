// XML written node by node as the reader gives it: constant memory, any size.
#ifndef NQDOM_TOOL_STREAM_WRITER_H
#define NQDOM_TOOL_STREAM_WRITER_H

#include <cstdio>
#include <string>
#include <vector>

#include "nqdom.h"

namespace nqtool {

// Whether `text` is white space only.
bool isBlank(const char* text, std::size_t length);

enum class Layout {
    Compact,  // as in the document
    Pretty,   // element content indented until its first text that is not blank
    Line      // as Pretty without indenting, line ends in texts and values as references
};

class StreamWriter {
public:
    StreamWriter(std::FILE* out, Layout layout) : m_out(out), m_layout(layout) {}
    ~StreamWriter() { flush(); }
    StreamWriter(const StreamWriter&) = delete;
    StreamWriter& operator=(const StreamWriter&) = delete;

    // Writes the node the reader stands on. `extra` holds "name", "value"
    // pairs of attributes to add to an element start.
    void write(const NqDomReader& reader, const std::vector<std::string>& extra = {});
    // `<?xml version="1.0" encoding="UTF-8"?>`: what is written is UTF-8.
    void declaration();
    // Ends what is open with a line end; the output is then flushed.
    void finish();
    void flush();
    // Drops what is not flushed yet: a record cut short by an error.
    void discard() { m_buffer.clear(); }

private:
    void closeStart();
    void newLine(std::size_t depth);
    void text(const char* value, std::size_t length, bool inAttribute);
    void start(const NqDomReader& reader, const std::vector<std::string>& extra);
    void end(const NqDomReader& reader);
    void characters(const NqDomReader& reader);
    void markup(const std::string& text, std::size_t depth);

    std::FILE* m_out;
    Layout m_layout;
    std::string m_buffer;
    // Per open element: whether its content is indented.
    std::vector<bool> m_indented;
    // Per open element: whether anything was written inside it.
    std::vector<bool> m_filled;
    bool m_startOpen = false;
    bool m_any = false;
};

}  // namespace nqtool

#endif
