// Must not compile: the module may not see the database layer.
#include "sql/Database.h"

int ormexLayerProbe()
{
    return 0;
}
