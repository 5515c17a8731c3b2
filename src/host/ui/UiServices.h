#pragma once

#include "host/core/HostConfig.h"

namespace ormex::host {

// Installs the Qt message service, registers the lookup windows and the name list, and lets the
// windows repaint while a call waits for a database server.
void installUiServices(const HostConfig& config);

// Lets the windows of the calling (user-interface) thread repaint while it waits for a database
// server (headquarters): every ~100 ms of the wait, pending events other than the operator's input
// are processed.
void repaintWhileServersAreWaitedFor();

} // namespace ormex::host
