#pragma once

#include <memory>
#include <string>

#include "platform/BusinessObjects.h"
#include "sql/Database.h"

// Company settings of a category in t_SystemProfile.
namespace ormex::host {

class SettingsMaintain : public platform::ConfigMaintain
{
public:
    explicit SettingsMaintain(std::string databasePath) : m_path(std::move(databasePath)) {}

    platform::FieldMap getConfigInfo(const std::string& category) override;
    // Runs the update batch in one transaction; throws on failure (nothing applied).
    bool saveConfigInfo(std::string& batch) override;

private:
    std::string m_path;
};

} // namespace ormex::host
