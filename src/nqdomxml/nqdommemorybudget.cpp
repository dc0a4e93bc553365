#include "nqdomxml/nqdommemorybudget.h"

#include <new>

#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>

namespace {

constexpr std::size_t kLargeBlock = 32 * 1024;

}  // namespace

// What the engine still holds here was dropped on its out-of-memory path,
// which skips its own clean-up: the parser and its documents are gone by now.
NqMemoryBudget::~NqMemoryBudget() {
    dropSpares();
    for (const auto& block : m_blocks) ::operator delete(block.first);
}

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
    void* block = takeSpare(size);
    if (!block) block = ::operator new(size, std::nothrow);
    if (!block) throw xercesc::OutOfMemoryException();
    try {
        m_blocks.emplace(block, size);
    } catch (const std::bad_alloc&) {
        ::operator delete(block);
        throw xercesc::OutOfMemoryException();
    }
    m_inUse += size;
    return block;
}

void NqMemoryBudget::deallocate(void* p) {
    const auto found = m_blocks.find(p);
    if (found == m_blocks.end()) return;
    const std::size_t size = found->second;
    m_blocks.erase(found);
    m_inUse -= size;
    if (size < kLargeBlock || lifted() || !keepSpare(p, size)) ::operator delete(p);
}

void NqMemoryBudget::lift() {
    m_limit = static_cast<std::size_t>(-1);
    dropSpares();
}

void* NqMemoryBudget::takeSpare(std::size_t size) {
    for (Spare& spare : m_spares) {
        if (spare.block && spare.size == size) {
            void* block = spare.block;
            spare.block = nullptr;
            return block;
        }
    }
    return nullptr;
}

bool NqMemoryBudget::keepSpare(void* block, std::size_t size) {
    for (Spare& spare : m_spares) {
        if (!spare.block) {
            spare = {block, size};
            return true;
        }
    }
    return false;
}

void NqMemoryBudget::dropSpares() {
    for (Spare& spare : m_spares) {
        ::operator delete(spare.block);
        spare.block = nullptr;
    }
}
