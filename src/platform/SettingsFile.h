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

// Every setting in the order written. A setting given twice must be given the same value both
// times: which of two values was meant cannot be guessed. Throws std::runtime_error naming the
// file (and the line at fault).
std::vector<Setting> readSettingsFile(const std::string& path);

// The value of a setting of the file, or "" when the file or the setting is absent. Throws as
// readSettingsFile for a file that exists but cannot be read.
std::string settingOf(const std::string& path, const std::string& name);

// Adds a `name=value` line to the file (created when absent), every other line kept as it was.
// The file is written whole: a temporary file beside it, readable by its owner only from its
// first byte, is flushed to disk and renamed over it, so a crash leaves the old file or the new
// one, never a mix. The file is then readable by its owner only (it holds the seal key); an
// existing one keeps its owner's permissions.
// The setting is read back before returning. Throws std::runtime_error naming the file, with the
// file unchanged.
void addSetting(const std::string& path, const std::string& name, const std::string& value);

} // namespace ormex::platform
