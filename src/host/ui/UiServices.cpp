#include "UiServices.h"

#include <QCoreApplication>

#include "LookupWindows.h"
#include "NameList.h"
#include "QtMessageService.h"
#include "platform/HostServices.h"
#include "sql/PgConnection.h"

namespace ormex::host {

void repaintWhileServersAreWaitedFor()
{
    // Windows repaint and timers run; the operator's clicks and keys wait until the call is over,
    // so that nothing starts another operation in the middle of this one.
    db::setServerWaitHook([] { QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents); });
}

void installUiServices(const HostConfig& config)
{
    repaintWhileServersAreWaitedFor();
    auto& services = platform::HostServices::instance();
    services.setMessageService(std::make_shared<QtMessageService>());
    const std::string path = config.databasePath();
    services.factory().registerClass("OrmexEBCGLView.GLView",
                                     [path] { return std::make_shared<LookupWindows>(path); });
    services.factory().registerClass("OrmexMCBaseData.Application",
                                     [path] { return std::make_shared<LookupWindows>(path); });
    services.factory().registerClass("OrmexGLNameListLib2.GLNameList",
                                     [path] { return std::make_shared<NameList>(path); });
}

} // namespace ormex::host
