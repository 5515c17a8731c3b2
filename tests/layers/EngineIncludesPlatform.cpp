// Compiles: the SQL engine sees the platform and itself. Shows that the refused probe fails for
// its include alone.
#include "platform/Value.h"
#include "sql/Database.h"

int ormexLayerProbe()
{
    return 0;
}
