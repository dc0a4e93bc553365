// Finds the variables of the skeleton document with their XPaths.
#include <map>
#include <memory>
#include <new>

#include "nqdommessages.h"
#include "nqdomtemplate/nqdomtemplateimpl.h"

namespace {

// False when the text could not be appended.
bool append(NqbString* text, const NqbString& part) {
    bool failed = false;
    text->append(part, &failed);
    return !failed;
}

bool isOptionalMarker(const NqDomNode& comment) {
    NqbString text = comment.getValue(true);
    text.trim(true, true);
    text.truncate(8);
    return text.compare("Optional", false) == 0;
}

// The number of variables `basic` finds in `text`; 0 when it cannot read it.
int countVariables(NqbBasicTemplate* basic, const NqbString& text) {
    NqbString ignored;
    if (!basic->init(text, &ignored)) return 0;
    return basic->getVariableCount();
}

using VariableMap = std::map<NqbString, NqDomTemplateVariable*, NqbStringLessInsensitive>;

// Records the one variable `basic` found, unless its name is taken in any letter case.
bool addVariable(VariableMap& variables, NqbBasicTemplate* basic, const NqbString& xpath, bool optional,
                 NqbString* error) {
    bool flag = false;
    NqbString name = basic->getVariableName(0, &flag, error);
    if (variables.find(name) != variables.end()) {
        *error = NQ_LIBXML_MESSAGE(NQ_MSG_VARIABLE_TWICE, name.asCstr());
        return false;
    }
    std::unique_ptr<NqDomTemplateVariable> record(new (std::nothrow) NqDomTemplateVariable);
    if (!record) {
        *error = NQ_LIBXML_MESSAGE(NQ_MSG_NO_MEMORY);
        return false;
    }
    record->xpath = xpath;
    record->optional = optional || flag;
    variables[name] = record.get();
    record.release();
    return true;
}

}  // namespace

bool NqDomTemplateImpl::collectVariables(const NqbString& parentPath, int position, bool optional,
                                         NqDomNode node, NqbString* error) {
    NqBasicTemplatePtr basic(nqbCreateBasicTemplate(nullptr, error));
    if (!basic) return false;

    NqbString path = parentPath;
    bool built = append(&path, NqbString("/")) && append(&path, node.getName());
    if (built && position > 1) {
        NqbString number;
        number.assign(position);
        built = append(&path, NqbString("[")) && append(&path, number) && append(&path, NqbString("]"));
    }
    if (!built) {
        *error = NQ_LIBXML_MESSAGE(NQ_MSG_NO_MEMORY);
        return false;
    }
    const unsigned pathLength = static_cast<unsigned>(path.length());

    NqbString text = node.getValue(true);
    text.trim(true, true);
    if (text.length() > 0) {
        const int count = countVariables(basic.get(), text);
        if (count > 1) {
            *error = NQ_LIBXML_MESSAGE(NQ_MSG_MANY_VARIABLES, path.asCstr(), "Element");
            return false;
        }
        if (count == 1 && !addVariable(m_variables, basic.get(), path, optional, error)) return false;
    }

    const int attributeCount = node.getAttributeCount();
    for (int index = 0; index < attributeCount; ++index) {
        NqbString name;
        NqbString value;
        node.getAttributeNameValue(index, &name, &value);
        if (isNamespaceDeclaration(name)) continue;
        value.trim(true, true);
        if (value.length() == 0) continue;
        const int count = countVariables(basic.get(), value);
        if (count <= 0) continue;
        if (count > 1) {
            *error = NQ_LIBXML_MESSAGE(NQ_MSG_MANY_VARIABLES, path.asCstr(), "Attribute");
            return false;
        }
        if (!append(&path, NqbString("/@")) || !append(&path, name)) {
            *error = NQ_LIBXML_MESSAGE(NQ_MSG_NO_MEMORY);
            return false;
        }
        if (!addVariable(m_variables, basic.get(), path, optional, error)) return false;
        path.truncate(pathLength);
    }

    // Under an optional element comments are not read: the whole subtree is optional already.
    std::map<NqbString, int, NqbStringLess> siblingCounts;
    NqDomNode child = node.getFirstChild(!optional);
    while (!child.null()) {
        bool mark = optional;
        while (!optional && child.isComment()) {
            if (isOptionalMarker(child)) {
                mark = true;
                child = child.getNextSibling(false);
                break;
            }
            child = child.getNextSibling(true);
        }
        if (child.null()) break;

        int& count = siblingCounts[child.getName()];
        ++count;
        if (!collectVariables(path, count, mark, child, error)) return false;
        child = child.getNextSibling(!optional);
    }
    return true;
}
