#pragma once

#include <functional>
#include <map>
#include <memory>

#include "ModuleForm.h"

// The screens of the component by function number, one instance each, created on first use.
namespace ormex::module::frame {

class FormRegistry
{
public:
    using Factory = std::function<std::unique_ptr<ModuleForm>()>;
    using ModalRunner = std::function<void(ModuleForm&)>;

    static FormRegistry& instance();

    void add(int funcId, Factory factory);
    // Registers the component's own screens again (after a test replaced one).
    void addScreens();
    void remove(int funcId);
    bool has(int funcId) const { return m_factories.count(funcId) > 0; }
    // The screen of a function number, created when it does not exist yet; nullptr when the
    // number has no screen.
    ModuleForm* form(int funcId);
    // Drops every screen instance (the component is unloaded).
    void clearInstances() { m_instances.clear(); }

    // How a screen is shown modally (QDialog::exec unless replaced, for example by a test).
    void setModalRunner(ModalRunner runner) { m_runner = std::move(runner); }
    void runModal(ModuleForm& form) { m_runner ? m_runner(form) : static_cast<void>(form.exec()); }

private:
    FormRegistry();
    std::map<int, Factory> m_factories;
    std::map<int, std::unique_ptr<ModuleForm>> m_instances;
    ModalRunner m_runner;
};

} // namespace ormex::module::frame
