#include "BatchMemory.h"

#include <sys/mman.h>

#include <cstdint>
#include <new>

namespace ormex::db {

namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;

// Blocks of a huge page and more are mapped on their own, aligned to a huge page, with the kernel
// asked to back them with huge pages; smaller ones come from the heap.
class LargeBlockResource : public std::pmr::memory_resource
{
    void* do_allocate(std::size_t bytes, std::size_t alignment) override
    {
        if (bytes < kHugePage) return std::pmr::new_delete_resource()->allocate(bytes, alignment);
        const std::size_t size = (bytes + kHugePage - 1) / kHugePage * kHugePage;
        // Mapped one huge page larger so that an aligned start fits; the slack goes back at once.
        void* mapped =
            ::mmap(nullptr, size + kHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED) throw std::bad_alloc();
        const auto start = reinterpret_cast<std::uintptr_t>(mapped);
        const std::uintptr_t aligned = (start + kHugePage - 1) / kHugePage * kHugePage;
        if (aligned > start) ::munmap(mapped, aligned - start);
        const std::uintptr_t end = start + size + kHugePage;
        if (end > aligned + size) ::munmap(reinterpret_cast<void*>(aligned + size), end - (aligned + size));
        void* block = reinterpret_cast<void*>(aligned);
#ifdef MADV_HUGEPAGE
        ::madvise(block, size, MADV_HUGEPAGE); // a hint: without huge pages the block still works
#endif
        return block;
    }
    void do_deallocate(void* block, std::size_t bytes, std::size_t alignment) override
    {
        if (bytes < kHugePage) return std::pmr::new_delete_resource()->deallocate(block, bytes, alignment);
        ::munmap(block, (bytes + kHugePage - 1) / kHugePage * kHugePage);
    }
    bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override
    {
        return this == &other;
    }
};

} // namespace

std::pmr::memory_resource* largeBlocks()
{
    static LargeBlockResource resource;
    return &resource;
}

BatchMemory::BatchMemory() : std::pmr::monotonic_buffer_resource(4096, largeBlocks()) {}

} // namespace ormex::db
