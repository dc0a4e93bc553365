// NqDomReader: opening an input, moving along its nodes and passing over them.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>

#include "nqdommessages.h"
#include "nqdomxml/nqdomdescriptorinput.h"
#include "nqdomxml/nqdommemorybudget.h"
#include "nqdomxml/nqdomreaderstate.h"
#include "nqdomxml/nqdomrefusal.h"

namespace {

// Names a text or a descriptor, as loadXML names a text.
const char kTextId[] = "dummy";
// What one text, or the engine while it reads, may take beyond the size of
// the input under the bounded policies.
const std::size_t kMemoryFloor = std::size_t(64) << 20;
// Entity expansions an input of unknown size may make.
const XMLSize_t kUnknownSizeExpansions = 1000000;

bool isPolicy(NqDomLoadPolicy policy) {
    return policy >= NqDomLoadLenient && policy <= NqDomLoadUntrusted;
}

const NqReadAttribute* attributeAt(const NqReadEvent* event, int index) {
    if (!event || index < 0 || index >= event->attributeCount) return nullptr;
    return &event->attributes[static_cast<std::size_t>(index)];
}

}  // namespace

void NqDomReaderState::close() {
    parser.reset();
    budget.reset();
    source.reset();
    text.setNull();
    current = nullptr;
    kind = NqDomReadNone;
    error.setNull();
}

// `size`: the input's bytes, or -1 when unknown.
void NqDomReaderState::start(xercesc::InputSource* input, const NqbString& id, bool file, long long size) {
    source.reset(input);
    systemId = id;
    fromFile = file;
    const std::size_t known = size < 0 ? 0 : static_cast<std::size_t>(size);
    const std::size_t limit = kMemoryFloor + known;
    if (policy != NqDomLoadLenient) budget.reset(new NqMemoryBudget(limit));
    const XMLSize_t expansions =
        size < 0 ? kUnknownSizeExpansions : 10000 + static_cast<XMLSize_t>(known / 4);
    parser.reset(new NqReadParser(policy, transcoder, budget.get(), expansions, limit));
    parser->begin(*source);
}

bool NqDomReaderState::ready() const {
    if (parser->m_head >= parser->m_count) return false;
    const NqReadEvent& head = parser->m_events[parser->m_head];
    // A text may go on in the next engine step.
    return head.kind != NqDomReadText || head.cdata || parser->m_count - parser->m_head > 1;
}

NqDomReadKind NqDomReaderState::fill() {
    while (!ready() && parser->step()) {
    }
    if (parser->m_head < parser->m_count) {
        current = &parser->m_events[parser->m_head];
        kind = current->kind;
        return kind;
    }
    current = nullptr;
    kind = NqDomReadError;
    const NqParseFailure& failure = parser->failure();
    error = nqDomRefusal(systemId, fromFile, failure.uri, failure.line, failure.column, failure.reason);
    return kind;
}

// Drops the current event; its storage is reused once the queue is empty.
void NqDomReaderState::advance() {
    if (kind == NqDomReadNone) return;
    if (++parser->m_head == parser->m_count) parser->m_head = parser->m_count = 0;
}

NqDomReader::NqDomReader() : m_state(new NqDomReaderState) {}

NqDomReader::~NqDomReader() {
    delete m_state;
}

void NqDomReader::setLoadPolicy(NqDomLoadPolicy policy) {
    if (isPolicy(policy)) m_state->policy = policy;
}

NqDomLoadPolicy NqDomReader::getLoadPolicy() const {
    return m_state->policy;
}

bool NqDomReader::openFile(const NqbString& fileName) {
    NqDomReaderState& state = *m_state;
    state.close();
    const int fd = fileName.isNull() ? -1 : ::open(fileName.asCstr(), O_RDONLY | O_CLOEXEC);
    struct stat info;
    const bool regular = fd >= 0 && ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
    if (fd >= 0) ::close(fd);
    if (!regular) {
        state.error = NQ_LIBXML_MESSAGE(NQ_MSG_OPEN_READ, fileName.isNull() ? "" : fileName.asCstr());
        state.kind = NqDomReadError;
        return false;
    }
    state.start(new xercesc::LocalFileInputSource(state.transcoder.fromNqb(fileName)), fileName, true,
                static_cast<long long>(info.st_size));
    return true;
}

bool NqDomReader::openDescriptor(int fd) {
    NqDomReaderState& state = *m_state;
    state.close();
    if (fd < 0) {
        state.error = NQ_LIBXML_MESSAGE(NQ_MSG_OPEN_READ, "a negative file descriptor");
        state.kind = NqDomReadError;
        return false;
    }
    state.start(new NqDescriptorInput(fd, state.transcoder.fromC(kTextId)), NqbString(kTextId), false, -1);
    return true;
}

bool NqDomReader::openText(const NqbString& text) {
    NqDomReaderState& state = *m_state;
    state.close();
    state.text = text.isNull() ? NqbString("") : text;
    const XMLSize_t length = static_cast<XMLSize_t>(state.text.cStrSize() - 1);
    state.start(new xercesc::MemBufInputSource(reinterpret_cast<const XMLByte*>(state.text.asCstr()), length,
                                               state.transcoder.fromC(kTextId)),
                NqbString(kTextId), false, static_cast<long long>(length));
    return true;
}

NqDomReadKind NqDomReader::next() {
    NqDomReaderState& state = *m_state;
    if (!state.parser || state.kind == NqDomReadEnd || state.kind == NqDomReadError) return state.kind;
    state.advance();
    return state.fill();
}

NqDomReadKind NqDomReader::skip() {
    NqDomReaderState& state = *m_state;
    if (!state.current) return next();
    int target = state.current->depth;
    if (state.kind != NqDomReadElementStart) {
        if (target == 0 || state.kind == NqDomReadEnd) return next();
        --target;
    }
    NqReadParser& parser = *state.parser;
    for (std::size_t i = parser.m_head + 1; i < parser.m_count; ++i) {
        const NqReadEvent& event = parser.m_events[i];
        if (event.kind == NqDomReadElementEnd && event.depth == target) {
            parser.m_head = i;
            return state.fill();
        }
    }
    parser.m_head = parser.m_count = 0;
    parser.skipTo(target);
    return state.fill();
}

NqDomReadKind NqDomReader::getKind() const {
    return m_state->kind;
}

int NqDomReader::getDepth() const {
    return m_state->current ? m_state->current->depth : 0;
}

int NqDomReader::getLine() const {
    return m_state->current ? m_state->current->line : 0;
}

int NqDomReader::getColumn() const {
    return m_state->current ? m_state->current->column : 0;
}

const char* NqDomReader::getName() const {
    const NqReadEvent* event = m_state->current;
    if (!event) return "";
    const NqDomReadKind kind = event->kind;
    const bool named = kind == NqDomReadElementStart || kind == NqDomReadElementEnd ||
                       kind == NqDomReadProcessingInstruction || kind == NqDomReadDocumentType;
    return named ? event->name.c_str() : "";
}

namespace {

const std::string* valueOf(const NqReadEvent* event) {
    if (!event) return nullptr;
    const NqDomReadKind kind = event->kind;
    const bool valued =
        kind == NqDomReadText || kind == NqDomReadComment || kind == NqDomReadProcessingInstruction;
    return valued ? &event->value : nullptr;
}

}  // namespace

const char* NqDomReader::getValue() const {
    const std::string* value = valueOf(m_state->current);
    return value ? value->c_str() : "";
}

std::size_t NqDomReader::getValueLength() const {
    const std::string* value = valueOf(m_state->current);
    return value ? value->size() : 0;
}

bool NqDomReader::isCData() const {
    return m_state->current && m_state->current->cdata;
}

const char* NqDomReader::getPublicId() const {
    const NqReadEvent* event = m_state->current;
    return event && event->kind == NqDomReadDocumentType ? event->publicId.c_str() : "";
}

const char* NqDomReader::getSystemId() const {
    const NqReadEvent* event = m_state->current;
    return event && event->kind == NqDomReadDocumentType ? event->systemId.c_str() : "";
}

int NqDomReader::getAttributeCount() const {
    return m_state->current ? m_state->current->attributeCount : 0;
}

const char* NqDomReader::getAttributeName(int index) const {
    const NqReadAttribute* attribute = attributeAt(m_state->current, index);
    return attribute ? attribute->name.c_str() : nullptr;
}

const char* NqDomReader::getAttributeValue(int index) const {
    const NqReadAttribute* attribute = attributeAt(m_state->current, index);
    return attribute ? attribute->value.c_str() : nullptr;
}

const char* NqDomReader::findAttribute(const char* name) const {
    const NqReadEvent* event = m_state->current;
    if (!event || !name) return nullptr;
    for (int i = 0; i < event->attributeCount; ++i) {
        const NqReadAttribute& attribute = event->attributes[static_cast<std::size_t>(i)];
        if (attribute.name == name) return attribute.value.c_str();
    }
    return nullptr;
}

NqbString NqDomReader::getErrorMessage() const {
    return m_state->error;
}
