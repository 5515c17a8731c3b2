#pragma once

#include <functional>

// Long database work of a screen, run on a worker thread while the window keeps painting.
namespace ormex::module::frame {

// Runs `work` on a worker thread and waits for it with the calling thread's event loop turning:
// the window repaints, timers fire and `tick` (if any) runs on the calling thread every few tens
// of milliseconds, to move a progress bar. Returns once the work has ended; rethrows what it threw.
//
// The database connection serves one thread at a time: the gateway's own calls on the calling
// thread wait for the work meanwhile. The caller disables what the operator could start
// (including closing the screen) for as long as this runs; the work must not touch widgets.
void RunOffThread(const std::function<void()>& work, const std::function<void()>& tick = {});

} // namespace ormex::module::frame
