#pragma once

#include "host/core/HostConfig.h"

namespace ormex::host {

// Installs the Qt message service and registers the lookup windows and the name list.
void installUiServices(const HostConfig& config);

} // namespace ormex::host
