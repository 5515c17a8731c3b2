// Compiles: the module sees the platform and itself. Shows that the refused probes fail for
// their include alone.
#include "module/frame/Gateway.h"
#include "platform/Value.h"

int ormexLayerProbe()
{
    return 0;
}
