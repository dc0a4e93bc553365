#include "nqdomxml/nqdommemorybudget.h"

#include <new>

#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>

// Each block starts with its header, padded so that what follows is aligned
// for any engine object.
struct NqMemoryBudget::Block {
    Block* previous;
    Block* next;
    std::size_t size;
};

namespace {

constexpr std::size_t kHeader = (sizeof(NqMemoryBudget::Block) + alignof(std::max_align_t) - 1) /
                                alignof(std::max_align_t) * alignof(std::max_align_t);
constexpr std::size_t kLargeBlock = 32 * 1024;

NqMemoryBudget::Block* blockOf(void* p) {
    return reinterpret_cast<NqMemoryBudget::Block*>(static_cast<char*>(p) - kHeader);
}

void* memoryOf(NqMemoryBudget::Block* block) {
    return reinterpret_cast<char*>(block) + kHeader;
}

}  // namespace

// What the engine still holds here was dropped on its out-of-memory path,
// which skips its own clean-up: the parser and its documents are gone by now.
NqMemoryBudget::~NqMemoryBudget() {
    dropSpares();
    while (m_blocks) {
        Block* next = m_blocks->next;
        ::operator delete(m_blocks);
        m_blocks = next;
    }
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
    Block* block = takeSpare(size);
    if (!block) block = static_cast<Block*>(::operator new(size + kHeader, std::nothrow));
    if (!block) throw xercesc::OutOfMemoryException();
    block->size = size;
    block->previous = nullptr;
    block->next = m_blocks;
    if (m_blocks) m_blocks->previous = block;
    m_blocks = block;
    m_inUse += size;
    return memoryOf(block);
}

void NqMemoryBudget::deallocate(void* p) {
    if (!p) return;
    Block* block = blockOf(p);
    if (block->previous) {
        block->previous->next = block->next;
    } else {
        m_blocks = block->next;
    }
    if (block->next) block->next->previous = block->previous;
    m_inUse -= block->size;
    if (block->size < kLargeBlock || lifted() || !keepSpare(block)) ::operator delete(block);
}

void NqMemoryBudget::lift() {
    m_limit = static_cast<std::size_t>(-1);
    dropSpares();
}

NqMemoryBudget::Block* NqMemoryBudget::takeSpare(std::size_t size) {
    for (Block*& spare : m_spares) {
        if (spare && spare->size == size) {
            Block* block = spare;
            spare = nullptr;
            return block;
        }
    }
    return nullptr;
}

bool NqMemoryBudget::keepSpare(Block* block) {
    for (Block*& spare : m_spares) {
        if (!spare) {
            spare = block;
            return true;
        }
    }
    return false;
}

void NqMemoryBudget::dropSpares() {
    for (Block*& spare : m_spares) {
        ::operator delete(spare);
        spare = nullptr;
    }
}
