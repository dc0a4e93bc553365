#include "nqxbase.h"

#include <new>
#include <string>
#include <vector>

namespace {

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isValidName(const std::string& name) {
    if (name.empty() || !(isLetter(name[0]) || name[0] == '_')) return false;
    for (char c : name) {
        if (!(isLetter(c) || isDigit(c) || c == '_' || c == '-' || c == '.')) return false;
    }
    return true;
}

void setError(NqbString* error, const NqbString& message) {
    if (error != nullptr) *error = message;
}

NqbString toNqb(const std::string& text) {
    NqbString result;
    result.assign(text.data(), static_cast<int>(text.size()));
    return result;
}

// A run of literal text, or a reference to variable `variable`.
struct Piece {
    bool isVariable;
    int variable;
    std::string raw;       // as written, "$$" kept: the skeleton form
    std::string rendered;  // "$$" turned into "$"
};

struct Variable {
    std::string name;
    bool optional;
};

class BasicTemplate final : public NqbBasicTemplate {
public:
    explicit BasicTemplate(NqbTemplateValueCB* callback) : m_callback(callback) {}

    NqbString getVariableName(int index, bool* optional, NqbString* error) override;
    int getVariableCount() override { return static_cast<int>(m_variables.size()); }
    void release() override { delete this; }
    NqbString getSkeleton(NqbString* error) override;
    bool init(const NqbString& text, NqbString* error) override;
    NqbString render(NqbString* error) override;

private:
    ~BasicTemplate() = default;

    void clear();
    bool parse(const char* text, size_t length, NqbString* error);
    Piece& literal();
    void addReference(const std::string& name, bool optional);

    NqbTemplateValueCB* m_callback;
    bool m_ready = false;
    std::vector<Piece> m_pieces;
    std::vector<Variable> m_variables;
};

void BasicTemplate::clear() {
    m_ready = false;
    m_pieces.clear();
    m_variables.clear();
}

// The literal piece at the end, started when the last piece is a variable.
Piece& BasicTemplate::literal() {
    if (m_pieces.empty() || m_pieces.back().isVariable) m_pieces.push_back(Piece{false, -1, {}, {}});
    return m_pieces.back();
}

void BasicTemplate::addReference(const std::string& name, bool optional) {
    int index = 0;
    const int count = static_cast<int>(m_variables.size());
    while (index < count && m_variables[index].name != name) ++index;
    // The flag of the first appearance stands.
    if (index == count) m_variables.push_back(Variable{name, optional});
    m_pieces.push_back(Piece{true, index, {}, {}});
}

bool BasicTemplate::parse(const char* text, size_t length, NqbString* error) {
    size_t i = 0;
    while (i < length) {
        const char c = text[i];
        const char next = i + 1 < length ? text[i + 1] : '\0';
        if (c == '$' && next == '$') {
            Piece& piece = literal();
            piece.raw += "$$";
            piece.rendered += '$';
            i += 2;
            continue;
        }
        if (c != '$' || next != '{') {
            Piece& piece = literal();
            piece.raw += c;
            piece.rendered += c;
            ++i;
            continue;
        }
        size_t close = i + 2;
        while (close < length && text[close] != '}') ++close;
        if (close >= length) {
            setError(error, nqb_get_message(__FILE__, __LINE__, NQB_CATALOGUE_BASE,
                                            NQB_MSG_UNTERMINATED_VARIABLE, static_cast<int>(i)));
            return false;
        }
        std::string name(text + i + 2, close - i - 2);
        const bool optional = !name.empty() && name.back() == '?';
        if (optional) name.pop_back();
        if (!isValidName(name)) {
            const std::string written(text + i + 2, close - i - 2);
            setError(error, nqb_get_message(__FILE__, __LINE__, NQB_CATALOGUE_BASE, NQB_MSG_BAD_VARIABLE_NAME,
                                            written.c_str(), static_cast<int>(i)));
            return false;
        }
        addReference(name, optional);
        i = close + 1;
    }
    return true;
}

bool BasicTemplate::init(const NqbString& text, NqbString* error) {
    clear();
    try {
        if (!parse(text.asCstr(), static_cast<size_t>(text.length()), error)) {
            clear();
            return false;
        }
    } catch (const std::bad_alloc&) {
        clear();
        setError(error, nqb_get_message(__FILE__, __LINE__, "LibXML", 444));
        return false;
    }
    m_ready = true;
    return true;
}

NqbString BasicTemplate::getVariableName(int index, bool* optional, NqbString* error) {
    if (index < 0 || index >= getVariableCount()) {
        setError(error,
                 nqb_get_message(__FILE__, __LINE__, NQB_CATALOGUE_BASE, NQB_MSG_VARIABLE_INDEX, index));
        return NqbString();
    }
    if (optional != nullptr) *optional = m_variables[index].optional;
    return toNqb(m_variables[index].name);
}

NqbString BasicTemplate::getSkeleton(NqbString* error) {
    if (!m_ready) {
        setError(error, nqb_get_message(__FILE__, __LINE__, NQB_CATALOGUE_BASE, NQB_MSG_NO_TEXT));
        return NqbString();
    }
    try {
        std::string skeleton;
        for (const Piece& piece : m_pieces) {
            if (!piece.isVariable) {
                skeleton += piece.raw;
                continue;
            }
            skeleton += "${";
            skeleton += m_variables[piece.variable].name;
            skeleton += '}';
        }
        return toNqb(skeleton);
    } catch (const std::bad_alloc&) {
        setError(error, nqb_get_message(__FILE__, __LINE__, "LibXML", 444));
        return NqbString();
    }
}

NqbString BasicTemplate::render(NqbString* error) {
    if (!m_ready) {
        setError(error, nqb_get_message(__FILE__, __LINE__, NQB_CATALOGUE_BASE, NQB_MSG_NO_TEXT));
        return NqbString();
    }
    try {
        // The callback is asked once per variable, before anything is written.
        std::vector<NqbString> values(m_variables.size());
        for (size_t i = 0; i < m_variables.size(); ++i) {
            const Variable& variable = m_variables[i];
            NqbString value;
            const bool found = m_callback != nullptr && m_callback->getValue(toNqb(variable.name), &value);
            if (!found && !variable.optional) {
                setError(error, nqb_get_message(__FILE__, __LINE__, NQB_CATALOGUE_BASE,
                                                NQB_MSG_VARIABLE_WITHOUT_VALUE, variable.name.c_str()));
                return NqbString();
            }
            values[i] = found ? value : NqbString("");
        }
        std::string out;
        for (const Piece& piece : m_pieces) {
            if (piece.isVariable) {
                const NqbString& value = values[piece.variable];
                out.append(value.asCstr(), static_cast<size_t>(value.length()));
            } else {
                out += piece.rendered;
            }
        }
        return toNqb(out);
    } catch (const std::bad_alloc&) {
        setError(error, nqb_get_message(__FILE__, __LINE__, "LibXML", 444));
        return NqbString();
    }
}

}  // namespace

NqbBasicTemplate* nqbCreateBasicTemplate(NqbTemplateValueCB* callback, NqbString* error) {
    NqbBasicTemplate* created = new (std::nothrow) BasicTemplate(callback);
    if (created == nullptr) setError(error, nqb_get_message(__FILE__, __LINE__, "LibXML", 444));
    return created;
}
