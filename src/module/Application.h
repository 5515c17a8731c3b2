#pragma once

#include <string>

#include "platform/Value.h"

// The member-card component's one public class. The host loads libOrmexCardManage.so on demand,
// creates the application through the C entry points below and calls it through
// this interface.
namespace ormex::module {

class Application
{
public:
    virtual ~Application() = default;

    // Opens screen CFuncID (1 card maintenance, 2 member settings, 3 card approval, 4 points and
    // gifts, 5 stored-value cards) modally and returns when it is closed. For 4 and 5 the
    // parameter names the tab to open on. Throws std::invalid_argument for a number that has no
    // screen; nothing is shown then.
    virtual void ShowForm(int CFuncID, const platform::Value& FunClassParam = platform::Value(0)) = 0;
    // True when the headquarters database can be opened.
    virtual bool ConnHQ() = 0;
    // How many changes of this branch wait for headquarters after sending what headquarters takes
    // now, and why the oldest of them was not taken ("" when none waits or none was tried).
    virtual int SendToHQ(std::string& lastError) = 0;
    // The same without sending.
    virtual int WaitingForHQ(std::string& lastError) = 0;
    // The connection text of headquarters as the branch's settings give it ("" when none is set).
    virtual std::string HQConnection() = 0;
};

} // namespace ormex::module

// The component's library exports these entry points and nothing else.
#define ORMEX_COMPONENT_EXPORT __attribute__((visibility("default")))

extern "C" {
ORMEX_COMPONENT_EXPORT ormex::module::Application* OrmexCardManage_CreateApplication();
ORMEX_COMPONENT_EXPORT void OrmexCardManage_DestroyApplication(ormex::module::Application* application);
ORMEX_COMPONENT_EXPORT int OrmexCardManage_CanUnloadNow();
ORMEX_COMPONENT_EXPORT int OrmexCardManage_RegisterServer();
ORMEX_COMPONENT_EXPORT int OrmexCardManage_UnregisterServer();
}
