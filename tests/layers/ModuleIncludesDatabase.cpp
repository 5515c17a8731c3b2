// Must not compile: the module may not see the database layer.
#include "db/Database.h"

int ormexLayerProbe()
{
    return 0;
}
