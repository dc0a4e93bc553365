/// \file
/// Base library: the string value, message catalogue access, formatting, the
/// basic template facility and the configuration-serializer interface.
#ifndef NQXBASE_H
#define NQXBASE_H

#include <cstdint>

/// Marks a class or function as exported from the base library.
#define NQB_API __attribute__((visibility("default")))

/// UTF-8 text with a null state distinct from the empty text. Positions and
/// lengths are counted in bytes. Texts of up to kLocalCapacity bytes live inside
/// the object, so short strings never touch the heap.
class NQB_API NqbString {
public:
    /// A null string.
    NqbString() : m_heap(nullptr), m_length(0), m_capacity(kLocalCapacity), m_null(true) {
        m_local[0] = '\0';
    }
    /// The NUL-terminated `text`; a null `text` gives a null string. `flag` is
    /// accepted for compatibility and has no effect.
    NqbString(const char* text, bool flag = true);
    /// A copy of `other`, null when it is null.
    NqbString(const NqbString& other);
    /// Takes `other`'s text; `other` is left null.
    NqbString(NqbString&& other) noexcept;
    /// Copies `other`, null when it is null.
    NqbString& operator=(const NqbString& other);
    /// Takes `other`'s text; `other` is left null.
    NqbString& operator=(NqbString&& other) noexcept;
    ~NqbString() { delete[] m_heap; }

    /// Replaces the content by `text` up to its first 0 byte; null `text` makes
    /// the string null.
    void assign(const char* text);
    /// Replaces the content by exactly `count` bytes (0 bytes when count < 0).
    void assign(const char* bytes, int count);
    /// Replaces the content by the decimal text of `value`.
    void assign(int value);
    /// Appends; `failed`, when given, is always written (true on failure).
    void append(const NqbString& text, bool* failed = nullptr);
    /// The same for a NUL-terminated `text`; null appends nothing but, like
    /// "", makes a null string empty.
    void append(const char* text, bool* failed = nullptr);

    /// The NUL-terminated content; "" for a null string. Valid while unchanged.
    const char* asCstr() const {
        if (m_null) return "";
        return m_heap ? m_heap : m_local;
    }
    /// Bytes of the NUL-terminated form, terminator included: at least 1.
    int cStrSize() const { return static_cast<int>(m_length) + 1; }
    /// Bytes of text: 0 for empty and null strings.
    int length() const { return static_cast<int>(m_length); }
    /// True for a null string, false for any text including the empty one.
    bool isNull() const { return m_null; }
    /// Makes the string null, keeping its storage.
    void setNull();

    /// <0, 0, >0 as this orders before, equal to or after `other`; a null
    /// string orders like the empty one. Case is ignored for ASCII letters
    /// when `caseSensitive` is false.
    int compare(const NqbString& other, bool caseSensitive) const;
    /// The same against a NUL-terminated `other`; null orders like "".
    int compare(const char* other, bool caseSensitive) const;
    /// Position of `what` at or after `start`, or -1.
    int find(const NqbString& what, int start) const;
    /// `count` bytes from `start` (-1: to the end); empty when out of range.
    NqbString mid(unsigned start, int count) const;
    /// Keeps the first `n` bytes.
    void truncate(unsigned n);
    /// Removes ASCII white space at the start and/or the end.
    void trim(bool leading, bool trailing);
    /// The value of the leading decimal number of the text (strtod rules,
    /// leading white space allowed). A null, empty or non-numeric text gives
    /// NaN and *ok false; trailing text after the number gives *ok false too.
    double asDouble(bool* ok) const;

    /// Longest text, in bytes, kept inside the object without a heap block.
    static constexpr unsigned kLocalCapacity = 23;

private:
    bool reserve(unsigned size);
    void setBytes(const char* bytes, unsigned count);

    char* m_heap;              // owned heap storage, or null while m_local is used
    std::uint32_t m_length;    // bytes of text
    std::uint32_t m_capacity;  // bytes usable for text in the current storage
    bool m_null;
    char m_local[kLocalCapacity + 1];
};

/// Case-sensitive ordering of NqbString keys.
struct NQB_API NqbStringLess {
    /// True when `a` orders before `b`.
    bool operator()(const NqbString& a, const NqbString& b) const { return a.compare(b, true) < 0; }
};

/// Ordering that ignores letter case: keys differing only in case are equal.
struct NQB_API NqbStringLessInsensitive {
    /// True when `a` orders before `b`, ignoring ASCII letter case.
    bool operator()(const NqbString& a, const NqbString& b) const { return a.compare(b, false) < 0; }
};

/// printf-style formatting into a new string.
NQB_API NqbString nqbStringFormat(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// The text of message `id` of `catalogue` with the further arguments put in
/// (printf-style). `file` and `line` name the caller and are not part of the
/// text. An unknown catalogue or id still yields a text naming both.
NQB_API NqbString nqb_get_message(const char* file, int line, const char* catalogue, int id, ...);

/// Catalogue of the base library's own messages.
#define NQB_CATALOGUE_BASE "Base"
/// Ids of the base library's messages, with the arguments each takes.
enum NqbBaseMessage {
    NQB_MSG_UNTERMINATED_VARIABLE = 2001,   ///< offset (int)
    NQB_MSG_BAD_VARIABLE_NAME = 2002,       ///< name (text), offset (int)
    NQB_MSG_VARIABLE_INDEX = 2003,          ///< index (int)
    NQB_MSG_VARIABLE_WITHOUT_VALUE = 2004,  ///< name (text)
    NQB_MSG_NO_TEXT = 2005                  ///< none: render before a successful init
};

/// Serializer of lists of configuration entries (name, value, description).
/// Freed with release(), never with delete.
class NqbConfSerializer {
public:
    /// Adds an entry after those added or read before; an empty description
    /// is not written.
    virtual void addEntry(const NqbString& name, const NqbString& value, const NqbString& description) = 0;
    /// Writes every entry to `fileName`, replacing the file as a whole; false
    /// with the text in getErrorMessage(), the old file kept.
    virtual bool write(const NqbString& fileName) = 0;
    /// Replaces the entries by those of `fileName` and starts getNextEntry at
    /// the first; false with the text in getErrorMessage() and no entries.
    virtual bool read(const NqbString& fileName) = 0;
    /// Fills the outputs (none may be null) with the next entry; false after
    /// the last one.
    virtual bool getNextEntry(NqbString* name, NqbString* value, NqbString* description) = 0;
    /// Text of the last failure; null before the first.
    virtual NqbString getErrorMessage() = 0;
    /// Frees the serializer.
    virtual void release() = 0;

protected:
    ~NqbConfSerializer() = default;
};

/// Supplies variable values to NqbBasicTemplate::render.
class NqbTemplateValueCB {
public:
    /// False when the variable has no value.
    virtual bool getValue(const NqbString& name, NqbString* value) = 0;

protected:
    ~NqbTemplateValueCB() = default;
};

/// A text in the variable notation: `${name}` is a variable, `${name?}` an
/// optional one, `$$` a literal `$`. Names start with a letter or `_` and go on
/// with letters, digits, `_`, `-` or `.`.
class NqbBasicTemplate {
public:
    /// Name of the index-th distinct variable, in order of first appearance;
    /// null string with a message in *error when out of range.
    virtual NqbString getVariableName(int index, bool* optional, NqbString* error) = 0;
    /// Number of distinct variables of the last text.
    virtual int getVariableCount() = 0;
    /// Frees the template.
    virtual void release() = 0;
    /// The last text with every variable written `${name}`.
    virtual NqbString getSkeleton(NqbString* error) = 0;
    /// Reads `text`; false with a message when a reference is malformed, and
    /// then the object reports no variables.
    virtual bool init(const NqbString& text, NqbString* error) = 0;
    /// The last text with each variable replaced by the callback's value and
    /// `$$` by `$`; a required variable without value fails with a message.
    virtual NqbString render(NqbString* error) = 0;

protected:
    ~NqbBasicTemplate() = default;
};

/// A new basic template; `callback` may be null. Null on allocation failure,
/// with a message in *error.
NQB_API NqbBasicTemplate* nqbCreateBasicTemplate(NqbTemplateValueCB* callback, NqbString* error);

#endif
