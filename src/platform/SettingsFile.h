#pragma once

#include <string>
#include <utility>
#include <vector>

// A settings file of `name=value` lines ('#' starts a comment, blank lines are passed over), as
// the host keeps its settings beside its databases (host.conf).
namespace ormex::platform {

struct Setting
{
    std::string name;
    std::string value;
    int line = 0; // 1-based, for messages
};

// Every setting in the order written. Throws std::runtime_error naming the file (and the line of
// a line without "=").
std::vector<Setting> readSettingsFile(const std::string& path);

// The value of a setting of the file, or "" when the file or the setting is absent.
std::string settingOf(const std::string& path, const std::string& name);

// Adds a `name=value` line to the file (made readable by its owner only when new). Throws
// std::runtime_error when it cannot be written.
void appendSetting(const std::string& path, const std::string& name, const std::string& value);

} // namespace ormex::platform
