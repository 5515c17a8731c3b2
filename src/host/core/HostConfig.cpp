#include "HostConfig.h"

#include <stdexcept>

#include "platform/NumberText.h"
#include "platform/SettingsFile.h"
#include "platform/Text.h"
#include "sql/PgDatabase.h"

namespace ormex::host {

std::string HostConfig::databasePath() const
{
    if (!databaseFile.empty() && databaseFile.front() == '/') return databaseFile;
    return dataFolder + "/" + databaseFile;
}

std::string HostConfig::propsString() const
{
    return "Database=" + databasePath() + ";UserID=" + std::to_string(userId) +
           ";Branch=" + branchNum.value_or("");
}

namespace {

bool flag(const std::string& name, const std::string& value)
{
    if (value == "1" || platform::iequals(value, "true") || platform::iequals(value, "yes")) return true;
    if (value == "0" || platform::iequals(value, "false") || platform::iequals(value, "no")) return false;
    throw std::invalid_argument(name + " must be 0 or 1, not '" + value + "'");
}

std::chrono::milliseconds deadline(const std::string& name, const std::string& value)
{
    const auto parsed = db::parseDeadlineSeconds(value);
    if (!parsed)
        throw std::invalid_argument(name + " must be whole seconds from 1 to 600, not '" + value + "'");
    return *parsed;
}

} // namespace

void HostConfig::set(const std::string& name, const std::string& value)
{
    if (name == "data")
        dataFolder = value;
    else if (name == "database")
        databaseFile = value;
    else if (name == "user")
        login = value;
    else if (name == "branch-id")
        branchId = value;
    else if (name == "branch-num")
        branchNum = value;
    else if (name == "is-branch")
        isBranch = flag(name, value);
    else if (name == "sv-share")
        svCardShareType = flag(name, value);
    else if (name == "seal-key")
        sealKey = value;
    else if (name == "hq-deadline-seconds")
        hqDeadline = deadline(name, value);
    else
        throw std::invalid_argument("unknown setting '" + name + "'");
}

void HostConfig::readFile(const std::string& path)
{
    settingsFile = path;
    for (const platform::Setting& setting : platform::readSettingsFile(path)) {
        try {
            set(setting.name, setting.value);
        } catch (const std::invalid_argument& error) {
            throw std::runtime_error(path + ":" + std::to_string(setting.line) + ": " + error.what());
        }
    }
}

} // namespace ormex::host
