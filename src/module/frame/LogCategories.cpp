#include "LogCategories.h"

namespace ormex::module {

Q_LOGGING_CATEGORY(lcFrame, "ormex.module.frame")
Q_LOGGING_CATEGORY(lcHq, "ormex.module.hq")
Q_LOGGING_CATEGORY(lcCards, "ormex.module.cards")
Q_LOGGING_CATEGORY(lcPoints, "ormex.module.points")
Q_LOGGING_CATEGORY(lcStoredValue, "ormex.module.storedvalue")
Q_LOGGING_CATEGORY(lcSettings, "ormex.module.settings")

} // namespace ormex::module
