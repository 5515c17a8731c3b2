#include "BatchProgress.h"

namespace ormex::platform {

namespace {

thread_local BatchProgress* t_progress = nullptr;

} // namespace

BatchProgressScope::BatchProgressScope(BatchProgress* progress) : m_previous(t_progress)
{
    t_progress = progress;
}

BatchProgressScope::~BatchProgressScope()
{
    t_progress = m_previous;
}

BatchProgress* currentBatchProgress()
{
    return t_progress;
}

} // namespace ormex::platform
