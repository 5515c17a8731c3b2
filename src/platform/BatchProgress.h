#pragma once

#include <atomic>
#include <cstddef>

// How far a statement batch has got, told by the thread that runs it to another thread that shows
// it (a progress bar on the window's thread while the batch runs on a worker).
namespace ormex::platform {

struct BatchProgress
{
    std::atomic<std::size_t> done{0};  // steps of the batch reached so far
    std::atomic<std::size_t> total{0}; // steps of the batch; 0 until it has been parsed
};

// While it lives, the batches this thread runs report to `progress`. Scopes nest; the previous
// receiver is restored at the end.
class BatchProgressScope
{
public:
    explicit BatchProgressScope(BatchProgress* progress);
    ~BatchProgressScope();
    BatchProgressScope(const BatchProgressScope&) = delete;
    BatchProgressScope& operator=(const BatchProgressScope&) = delete;

private:
    BatchProgress* m_previous;
};

// Where this thread's batches report to; null when nothing listens.
BatchProgress* currentBatchProgress();

} // namespace ormex::platform
