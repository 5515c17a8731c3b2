#pragma once

#include <QLoggingCategory>

// The module's logging categories, one per part of the component. A failure the operator is told
// of only in Chinese (or not at all, where a screen goes on without what it could not read) is
// logged here with what was being done, the card where there is one, and the exception's text.
// Where the log goes is the host's business: Qt's handler writes to stderr (the journal of a
// service), and ormex-host adds a file beside its databases. QT_LOGGING_RULES can silence any.
namespace ormex::module {

Q_DECLARE_LOGGING_CATEGORY(lcFrame)       // ormex.module.frame: the gateway to the host
Q_DECLARE_LOGGING_CATEGORY(lcHq)          // ormex.module.hq: the headquarters link and its queue
Q_DECLARE_LOGGING_CATEGORY(lcCards)       // ormex.module.cards: card maintenance and approval
Q_DECLARE_LOGGING_CATEGORY(lcPoints)      // ormex.module.points: points and gifts
Q_DECLARE_LOGGING_CATEGORY(lcStoredValue) // ormex.module.storedvalue: recharges and conversions
Q_DECLARE_LOGGING_CATEGORY(lcSettings)    // ormex.module.settings: member settings

} // namespace ormex::module
