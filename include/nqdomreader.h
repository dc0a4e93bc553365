// A pull reader: a document of any size read node by node, in constant
// memory, with any element expanded into a document of its own.
#ifndef NQDOMREADER_H
#define NQDOMREADER_H

#include <cstddef>

#include "nqdom.h"

class NqDomReaderState;

/// What the reader stands on after a step.
enum NqDomReadKind {
    /// Nothing yet: no input, or next() not called since it was opened.
    NqDomReadNone = 0,
    /// The start of an element: its name and attributes are available.
    NqDomReadElementStart = 1,
    /// The end of an element; an empty element gives a start and an end.
    NqDomReadElementEnd = 2,
    /// Character data, adjacent pieces and expanded entity references joined
    /// as the DOM joins them; isCData() tells a CDATA section.
    NqDomReadText = 3,
    /// A comment in or around the root element; getValue() is its text.
    NqDomReadComment = 4,
    /// A processing instruction: getName() is its target, getValue() its data.
    NqDomReadProcessingInstruction = 5,
    /// The document type declaration: getName() is the root's declared name.
    NqDomReadDocumentType = 6,
    /// The end of a complete document; every later step stays here.
    NqDomReadEnd = 7,
    /// The input failed, or the load policy refused it; getErrorMessage()
    /// says why and where. Every later step stays here.
    NqDomReadError = 8
};

/// Reads a document step by step without building it, as loadXML would
/// parse it: names as written, namespace declarations as attributes. The
/// load policy of the reader bounds it as it bounds NqDom::loadFile; a
/// document cut short is an error, never a quiet end. Every text is UTF-8
/// and stays valid until the next call of next(), skip(), expand() or an
/// open call, or the reader's destruction.
class NQDOM_API NqDomReader {
public:
    /// A reader without input, under the process's default load policy.
    NqDomReader();
    /// Closes the input; a descriptor given to openDescriptor stays open.
    ~NqDomReader();
    NqDomReader(const NqDomReader&) = delete;
    NqDomReader& operator=(const NqDomReader&) = delete;

    /// The policy of later open calls; an unknown value is ignored.
    void setLoadPolicy(NqDomLoadPolicy policy);
    /// The policy later open calls apply.
    NqDomLoadPolicy getLoadPolicy() const;

    /// Reads the file `fileName`; relative references resolve against its
    /// folder. False, with the reason in getErrorMessage(), when it cannot
    /// be opened. Any earlier input is closed first.
    bool openFile(const NqbString& fileName);
    /// Reads from the open descriptor `fd` (0: standard input) until its end;
    /// the descriptor stays the caller's and is not closed. False for a
    /// negative descriptor.
    bool openDescriptor(int fd);
    /// Reads a copy of `text` (a null string reads as empty).
    bool openText(const NqbString& text);

    /// Moves to the next node and gives its kind.
    NqDomReadKind next();
    /// Moves past the rest of the current element: from an element start to
    /// its end, from any other node inside an element to that element's
    /// end, without converting what lies between. Elsewhere it acts as
    /// next(). Gives the kind reached.
    NqDomReadKind skip();
    /// On an element start: makes `record` hold a new document whose root is
    /// that element with everything inside it, and moves the reader to the
    /// element's end. In-scope namespace declarations of its ancestors are
    /// copied onto the root, entity references are expanded. Passing the
    /// same handle for each record reuses its memory; as with loadXML, node
    /// handles into the handle's previous document are invalid afterwards.
    /// False, changing nothing, when the reader stands elsewhere or `record`
    /// could not start the engine; false, with `record` left without a
    /// document and the reader on NqDomReadError, when the input fails.
    bool expand(NqDom& record);

    /// The kind of the current node.
    NqDomReadKind getKind() const;
    /// Elements open around the current node: 0 for the root element and for
    /// what stands outside it; an end has the depth of its start.
    int getDepth() const;
    /// The line (from 1) where the current node starts; 0 when there is no
    /// node. Columns (from 1) count UTF-16 units, as the engine's messages
    /// do. In the prolog the position may be that of white space before it.
    int getLine() const;
    /// The column where the current node starts; see getLine().
    int getColumn() const;
    /// Element name (on its start and its end), instruction target or
    /// document type name; "" otherwise.
    const char* getName() const;
    /// Text, comment text or instruction data; "" otherwise.
    const char* getValue() const;
    /// The byte length of getValue().
    std::size_t getValueLength() const;
    /// True on a text that was a CDATA section.
    bool isCData() const;
    /// The public identifier of the document type; "" when absent or on
    /// other nodes.
    const char* getPublicId() const;
    /// The system identifier of the document type; see getPublicId().
    const char* getSystemId() const;

    /// Attributes of an element start, in document order, declared defaults
    /// included; 0 on other nodes.
    int getAttributeCount() const;
    /// The name of attribute `index` as written; null out of range.
    const char* getAttributeName(int index) const;
    /// The value of attribute `index`, references expanded; null out of range.
    const char* getAttributeValue(int index) const;
    /// The value of the attribute named `name` (null: none) as written; null
    /// when absent.
    const char* findAttribute(const char* name) const;

    /// Why the reader stopped with NqDomReadError, with line and column; a
    /// null string otherwise.
    NqbString getErrorMessage() const;

private:
    NqDomReaderState* m_state;
};

#endif
