#include "FormRegistry.h"

#include "module/cards/frmMCCheck.h"
#include "module/cards/frmMemCardManage.h"
#include "module/points/frmPointManage.h"
#include "module/settings/frmMemberConfig.h"
#include "module/storedvalue/frmStoreCardManage.h"

namespace ormex::module::frame {

FormRegistry::FormRegistry()
{
    addScreens();
}

void FormRegistry::addScreens()
{
    add(1, [] { return std::make_unique<cards::frmMemCardManage>(); });
    add(2, [] { return std::make_unique<settings::frmMemberConfig>(); });
    add(3, [] { return std::make_unique<cards::frmMCCheck>(); });
    add(4, [] { return std::make_unique<points::frmPointManage>(); });
    add(5, [] { return std::make_unique<storedvalue::frmStoreCardManage>(); });
}

FormRegistry& FormRegistry::instance()
{
    static FormRegistry registry;
    return registry;
}

void FormRegistry::add(int funcId, Factory factory)
{
    m_factories[funcId] = std::move(factory);
    m_instances.erase(funcId);
}

void FormRegistry::remove(int funcId)
{
    m_factories.erase(funcId);
    m_instances.erase(funcId);
}

ModuleForm* FormRegistry::form(int funcId)
{
    auto existing = m_instances.find(funcId);
    if (existing != m_instances.end()) return existing->second.get();
    auto factory = m_factories.find(funcId);
    if (factory == m_factories.end()) return nullptr;
    auto created = factory->second();
    ModuleForm* form = created.get();
    m_instances[funcId] = std::move(created);
    return form;
}

} // namespace ormex::module::frame
