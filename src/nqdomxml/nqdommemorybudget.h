// Engine memory for one bounded load: a document that grows past its budget
// while it is parsed stops at once instead of exhausting the process.
#ifndef NQDOMMEMORYBUDGET_H
#define NQDOMMEMORYBUDGET_H

#include <cstddef>
#include <unordered_map>

#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/sax/Locator.hpp>

class NqMemoryBudget : public xercesc::MemoryManager {
public:
    explicit NqMemoryBudget(std::size_t limit) : m_limit(limit) {}
    ~NqMemoryBudget() override;
    NqMemoryBudget(const NqMemoryBudget&) = delete;
    NqMemoryBudget& operator=(const NqMemoryBudget&) = delete;

    xercesc::MemoryManager* getExceptionMemoryManager() override;
    // Throws the engine's OutOfMemoryException past the budget or when the
    // system has no memory.
    void* allocate(XMLSize_t size) override;
    void deallocate(void* p) override;

    // Where the parse stands, for the position of a refusal.
    void watch(const xercesc::Locator* where) { m_where = where; }
    // No limit from now on: the loaded document may grow as its host edits it.
    void lift();
    // A limit of `more` bytes beyond what is held now, for a document that
    // grows again.
    void limitFurther(std::size_t more) { m_limit = m_inUse + more; }
    std::size_t inUse() const { return m_inUse; }

    bool exceeded() const { return m_exceeded; }
    std::size_t limit() const { return m_limit; }
    XMLFileLoc line() const { return m_line; }
    XMLFileLoc column() const { return m_column; }

private:
    void* takeSpare(std::size_t size);
    bool keepSpare(void* block, std::size_t size);
    void dropSpares();
    bool lifted() const { return m_limit == static_cast<std::size_t>(-1); }

    // Large blocks freed during the parse, kept for the next of the same
    // size: each entity reference makes and drops a reader of some 160 KB,
    // and handing those back to the system costs more than the parse.
    struct Spare {
        void* block;
        std::size_t size;
    };
    static constexpr int kSpares = 4;
    Spare m_spares[kSpares] = {};
    // Every block the engine holds, with its size. Kept beside the blocks
    // rather than in a header before each: the engine's document takes its
    // memory in chunks of a power of two, and a header would move each into
    // the heap's next size class, a quarter larger.
    std::unordered_map<void*, std::size_t> m_blocks;
    std::size_t m_limit;
    std::size_t m_inUse = 0;
    bool m_exceeded = false;
    const xercesc::Locator* m_where = nullptr;
    XMLFileLoc m_line = 0;
    XMLFileLoc m_column = 0;
};

#endif
