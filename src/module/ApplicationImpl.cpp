#include <stdexcept>

#include "Application.h"
#include "frame/FormRegistry.h"
#include "hq/HqLink.h"
#include "hq/ReplayOutbox.h"

namespace ormex::module {

namespace {

class ApplicationImpl : public Application
{
public:
    // Screens are widgets: they go with the application, while the host's QApplication lives.
    ~ApplicationImpl() override
    {
        frame::FormRegistry::instance().clearInstances();
        hq::ResetHQConnectionText();
    }

    void ShowForm(int CFuncID, const platform::Value& FunClassParam) override
    {
        frame::ModuleForm* form = frame::FormRegistry::instance().form(CFuncID);
        if (!form)
            throw std::invalid_argument("ShowForm: no screen for function number " + std::to_string(CFuncID));
        if (CFuncID == 4 || CFuncID == 5) form->setStabindex(FunClassParam);
        form->setParent(nullptr);
        form->setModal(true);
        form->loadForm();
        frame::FormRegistry::instance().runModal(*form);
    }

    bool ConnHQ() override { return hq::ConnHQ(); }

    int SendToHQ(std::string& lastError) override { return report(hq::SendQueuedToHQ(), lastError); }

    int WaitingForHQ(std::string& lastError) override { return report(hq::QueuedForHQ(), lastError); }

    std::string HQConnection() override { return hq::BuildHQConnectionText(); }

private:
    static int report(const hq::ReplayState& state, std::string& lastError)
    {
        lastError = state.lastError;
        return state.waiting;
    }
};

} // namespace

} // namespace ormex::module

extern "C" {

ormex::module::Application* OrmexCardManage_CreateApplication()
{
    return new ormex::module::ApplicationImpl();
}

void OrmexCardManage_DestroyApplication(ormex::module::Application* application)
{
    delete application;
}

int OrmexCardManage_CanUnloadNow()
{
    return 1;
}

int OrmexCardManage_RegisterServer()
{
    return 0;
}

int OrmexCardManage_UnregisterServer()
{
    return 0;
}
}
