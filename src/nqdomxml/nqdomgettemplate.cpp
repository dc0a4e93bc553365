// NqDom::getTemplate: a new template compiled from XML text.
#include <new>

#include "nqdommessages.h"
#include "nqdomtemplate/nqdomtemplateimpl.h"
#include "nqdomxml/nqdomdata.h"

NqDomTemplate* NqDom::getTemplate(const NqbString& text) {
    NqDomTemplateImpl* compiled = nullptr;
    // Strings and maps allocate with throwing new; the engine reports every
    // allocation failure as 444 instead of raising.
    try {
        compiled = new (std::nothrow) NqDomTemplateImpl();
        if (!compiled) {
            m_data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_NO_MEMORY);
            return nullptr;
        }
        if (compiled->init(text, &m_data->m_errorMessage, m_data->m_loadPolicy)) return compiled;
    } catch (const std::bad_alloc&) {
        m_data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_NO_MEMORY);
    }
    if (compiled) compiled->release();
    return nullptr;
}
