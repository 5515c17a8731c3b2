#include "UiServices.h"

#include "LookupWindows.h"
#include "NameList.h"
#include "QtMessageService.h"
#include "platform/HostServices.h"

namespace ormex::host {

void installUiServices(const HostConfig& config)
{
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
