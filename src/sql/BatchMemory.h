#pragma once

#include <memory>
#include <memory_resource>

// Memory for what a batch is parsed into. A batch over 100,000 cards holds tens of megabytes of
// steps and arguments for a second or two; taken page by page, every fresh 4 KB page costs a page
// fault, which on a virtual machine can cost as much as parsing a card. Large blocks are therefore
// mapped whole and asked of the kernel as huge pages where it offers them; small batches take
// ordinary heap memory, so a batch of one card maps nothing.
namespace ormex::db {

// Grows by blocks that double in size and gives everything back at once when it goes.
class BatchMemory : public std::pmr::monotonic_buffer_resource
{
public:
    BatchMemory();
};

// The process's source of large blocks for BatchMemory.
std::pmr::memory_resource* largeBlocks();

} // namespace ormex::db
