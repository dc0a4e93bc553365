#include "nqdomxml/nqdommemorybudget.h"

#include <new>

#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>

namespace {

// Each block carries its size in front, aligned for any engine object.
constexpr std::size_t kHeader = alignof(std::max_align_t);
constexpr std::size_t kLargeBlock = 32 * 1024;

std::size_t& sizeOf(char* block) {
    return *reinterpret_cast<std::size_t*>(block);
}

}  // namespace

xercesc::MemoryManager* NqMemoryBudget::getExceptionMemoryManager() {
    return xercesc::XMLPlatformUtils::fgMemoryManager;
}

void* NqMemoryBudget::allocate(XMLSize_t size) {
    if (size > m_limit - m_inUse) {
        if (!m_exceeded && m_where) {
            m_line = m_where->getLineNumber();
            m_column = m_where->getColumnNumber();
        }
        m_exceeded = true;
        throw xercesc::OutOfMemoryException();
    }
    m_inUse += size;
    for (char*& spare : m_spares) {
        if (spare && sizeOf(spare) == size) {
            char* block = spare;
            spare = nullptr;
            return block + kHeader;
        }
    }
    char* block = static_cast<char*>(::operator new(size + kHeader, std::nothrow));
    if (!block) {
        m_inUse -= size;
        throw xercesc::OutOfMemoryException();
    }
    sizeOf(block) = size;
    return block + kHeader;
}

void NqMemoryBudget::deallocate(void* p) {
    if (!p) return;
    char* block = static_cast<char*>(p) - kHeader;
    const std::size_t size = sizeOf(block);
    m_inUse -= size;
    if (size >= kLargeBlock && !lifted()) {
        for (char*& spare : m_spares) {
            if (!spare) {
                spare = block;
                return;
            }
        }
    }
    ::operator delete(block);
}

void NqMemoryBudget::lift() {
    m_limit = static_cast<std::size_t>(-1);
    dropSpares();
}

void NqMemoryBudget::dropSpares() {
    for (char*& spare : m_spares) {
        ::operator delete(spare);
        spare = nullptr;
    }
}
