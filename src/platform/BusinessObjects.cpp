#include "BusinessObjects.h"

namespace ormex::platform {

bool sameReadValue(const Value& a, const Value& b)
{
    if (a.isNumber() || b.isNumber())
        if (a.isNumeric() && b.isNumeric()) return a.toDouble() == b.toDouble();
    return a.toString() == b.toString();
}

} // namespace ormex::platform
