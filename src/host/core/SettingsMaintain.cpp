#include "SettingsMaintain.h"

#include "SqlText.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

platform::FieldMap SettingsMaintain::getConfigInfo(const std::string& category)
{
    auto* db = &db::sharedDatabase(m_path);
    auto rs = db->query("select FKey, FValue from t_SystemProfile where FCategory=" + quoted(category));
    platform::FieldMap settings;
    for (; !rs.atEnd(); rs.moveNext())
        settings.set(rs.field("FKey").toString(), rs.field("FValue").toString());
    return settings;
}

bool SettingsMaintain::saveConfigInfo(std::string& batch)
{
    auto* db = &db::sharedDatabase(m_path);
    db->execute(batch);
    return true;
}

} // namespace ormex::host
