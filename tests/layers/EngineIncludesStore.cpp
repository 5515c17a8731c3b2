// Must not compile: the SQL engine knows nothing of the member cards' store above it.
#include "store/CardSeal.h"

int ormexLayerProbe()
{
    return 0;
}
