#include "stream_writer.h"

#include <cstring>

namespace nqtool {
namespace {

const std::size_t kFlushAt = 1 << 16;

}  // namespace

bool isBlank(const char* text, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
        const char c = text[i];
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r') return false;
    }
    return true;
}

void StreamWriter::flush() {
    if (m_buffer.empty()) return;
    std::fwrite(m_buffer.data(), 1, m_buffer.size(), m_out);
    m_buffer.clear();
}

void StreamWriter::declaration() {
    m_buffer += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    m_any = true;
}

void StreamWriter::finish() {
    closeStart();
    if (m_any) m_buffer += '\n';
    flush();
}

void StreamWriter::closeStart() {
    if (!m_startOpen) return;
    m_buffer += '>';
    m_startOpen = false;
}

void StreamWriter::newLine(std::size_t depth) {
    if (m_any) m_buffer += '\n';
    m_buffer.append(2 * depth, ' ');
}

// References for what reading would change: markup characters, and in
// values the white space reading turns into spaces. Line mode writes line
// ends as references everywhere, so that a record stays on its line.
void StreamWriter::text(const char* value, std::size_t length, bool inAttribute) {
    const bool line = m_layout == Layout::Line;
    std::size_t plain = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const char* reference = nullptr;
        switch (value[i]) {
            case '&':
                reference = "&amp;";
                break;
            case '<':
                reference = "&lt;";
                break;
            case '>':
                reference = "&gt;";
                break;
            case '"':
                reference = inAttribute ? "&quot;" : nullptr;
                break;
            case '\r':
                reference = "&#13;";
                break;
            case '\n':
                reference = inAttribute || line ? "&#10;" : nullptr;
                break;
            case '\t':
                reference = inAttribute ? "&#9;" : nullptr;
                break;
            default:
                break;
        }
        if (!reference) continue;
        m_buffer.append(value + plain, i - plain).append(reference);
        plain = i + 1;
    }
    m_buffer.append(value + plain, length - plain);
}

void StreamWriter::start(const NqDomReader& reader, const std::vector<std::string>& extra) {
    closeStart();
    const std::size_t depth = m_indented.size();
    const bool indenting = m_indented.empty() || m_indented.back();
    if (!m_filled.empty()) m_filled.back() = true;
    if (m_layout == Layout::Pretty ? indenting : m_layout == Layout::Compact && depth == 0)
        newLine(m_layout == Layout::Pretty ? depth : 0);
    m_any = true;
    m_buffer.append("<").append(reader.getName());
    bool preserve = false;
    auto attribute = [&](const char* name, const char* value) {
        m_buffer.append(" ").append(name).append("=\"");
        text(value, std::strlen(value), true);
        m_buffer += '"';
        preserve = preserve || (std::strcmp(name, "xml:space") == 0 && std::strcmp(value, "preserve") == 0);
    };
    for (int i = 0; i < reader.getAttributeCount(); ++i)
        attribute(reader.getAttributeName(i), reader.getAttributeValue(i));
    for (std::size_t i = 0; i + 1 < extra.size(); i += 2) attribute(extra[i].c_str(), extra[i + 1].c_str());
    m_startOpen = true;
    // Line drops the white space between elements as Pretty does, without indenting.
    m_indented.push_back(m_layout != Layout::Compact && indenting && !preserve);
    m_filled.push_back(false);
}

void StreamWriter::end(const NqDomReader& reader) {
    const bool indented = m_indented.back();
    const bool filled = m_filled.back();
    m_indented.pop_back();
    m_filled.pop_back();
    if (m_startOpen) {
        m_buffer.append("/>");
        m_startOpen = false;
    } else {
        if (m_layout == Layout::Pretty && indented && filled) newLine(m_indented.size());
        m_buffer.append("</").append(reader.getName()).append(">");
    }
    if (m_buffer.size() >= kFlushAt) flush();
}

void StreamWriter::characters(const NqDomReader& reader) {
    const char* value = reader.getValue();
    const std::size_t length = reader.getValueLength();
    const bool indented = !m_indented.empty() && m_indented.back();
    if (indented && !reader.isCData() && isBlank(value, length)) return;
    closeStart();
    // Text that is not blank: from here on the element's content is kept as it is.
    if (indented) m_indented.back() = false;
    if (!m_filled.empty()) m_filled.back() = true;
    if (!reader.isCData()) return text(value, length, false);
    m_buffer.append("<![CDATA[").append(value, length).append("]]>");
}

void StreamWriter::markup(const std::string& text, std::size_t depth) {
    closeStart();
    const bool indenting = m_indented.empty() || m_indented.back();
    if (!m_filled.empty()) m_filled.back() = true;
    if ((m_indented.empty() && m_layout != Layout::Line) || (m_layout == Layout::Pretty && indenting))
        newLine(depth);
    m_any = true;
    m_buffer.append(text);
}

void StreamWriter::write(const NqDomReader& reader, const std::vector<std::string>& extra) {
    const std::size_t depth = m_indented.size();
    switch (reader.getKind()) {
        case NqDomReadElementStart:
            return start(reader, extra);
        case NqDomReadElementEnd:
            return end(reader);
        case NqDomReadText:
            return characters(reader);
        case NqDomReadComment:
            return markup(std::string("<!--") + reader.getValue() + "-->", depth);
        case NqDomReadProcessingInstruction: {
            const std::string data = reader.getValue();
            return markup(std::string("<?") + reader.getName() + (data.empty() ? "" : " ") + data + "?>",
                          depth);
        }
        case NqDomReadDocumentType: {
            std::string doctype = std::string("<!DOCTYPE ") + reader.getName();
            const std::string publicId = reader.getPublicId(), systemId = reader.getSystemId();
            if (!publicId.empty()) doctype += " PUBLIC \"" + publicId + "\"";
            if (publicId.empty() && !systemId.empty()) doctype += " SYSTEM";
            if (!systemId.empty()) doctype += " \"" + systemId + "\"";
            return markup(doctype + ">", 0);
        }
        default:
            return;
    }
}

}  // namespace nqtool
