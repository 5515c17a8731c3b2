#include "SettingsFile.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "Text.h"

namespace ormex::platform {

std::vector<Setting> readSettingsFile(const std::string& path)
{
    std::ifstream in(path);
    if (!in) throw std::runtime_error("cannot read " + path);
    std::vector<Setting> settings;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const std::string text = trim(line.substr(0, line.find('#')));
        if (text.empty()) continue;
        const std::size_t eq = text.find('=');
        if (eq == std::string::npos)
            throw std::runtime_error(path + ":" + std::to_string(number) + ": expected name=value");
        settings.push_back({trim(text.substr(0, eq)), trim(text.substr(eq + 1)), number});
    }
    return settings;
}

std::string settingOf(const std::string& path, const std::string& name)
{
    if (!std::filesystem::exists(path)) return {};
    std::string found;
    for (const Setting& setting : readSettingsFile(path))
        if (setting.name == name) found = setting.value;
    return found;
}

void appendSetting(const std::string& path, const std::string& name, const std::string& value)
{
    const bool existed = std::filesystem::exists(path);
    {
        std::ofstream out(path, std::ios::app);
        if (!out) throw std::runtime_error("cannot write " + path);
        out << name << '=' << value << '\n';
        if (!out.flush()) throw std::runtime_error("cannot write " + path);
    }
    if (!existed) chmod(path.c_str(), S_IRUSR | S_IWUSR);
}

} // namespace ormex::platform
