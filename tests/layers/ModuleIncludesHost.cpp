// Must not compile: the module may not see the host.
#include "host/core/CardMaintain.h"

int ormexLayerProbe()
{
    return 0;
}
