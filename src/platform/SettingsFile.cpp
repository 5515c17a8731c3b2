#include "SettingsFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

#include "Text.h"

namespace ormex::platform {

namespace {

std::runtime_error fileError(const std::string& what, const std::string& path)
{
    return std::runtime_error("cannot " + what + " " + path + ": " + std::strerror(errno));
}

// The file's bytes as they are, "" when it does not exist.
std::string contentOf(const std::string& path)
{
    if (!std::filesystem::exists(path)) return {};
    std::ifstream in(path, std::ios::binary);
    if (!in) throw fileError("read", path);
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) throw fileError("read", path);
    return text.str();
}

// Closes a descriptor and removes the temporary file it wrote unless it was renamed into place.
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::string& beside) : m_path(beside + ".XXXXXX")
    {
        // mkstemp creates the file with mode 0600: nobody else can read it even for a moment.
        m_fd = mkstemp(m_path.data());
        if (m_fd < 0) throw fileError("create a file beside", beside);
    }
    ~TemporaryFile()
    {
        if (m_fd >= 0) close(m_fd);
        if (!m_renamed) unlink(m_path.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void write(const std::string& text, const std::string& target)
    {
        for (std::size_t done = 0; done < text.size();) {
            const ssize_t n = ::write(m_fd, text.data() + done, text.size() - done);
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) throw fileError("write", target);
            done += static_cast<std::size_t>(n);
        }
        if (fsync(m_fd) != 0) throw fileError("write", target);
    }
    void keepMode(mode_t mode, const std::string& target)
    {
        if (fchmod(m_fd, mode) != 0) throw fileError("set the mode of", target);
    }
    const std::string& path() const { return m_path; }
    void renameTo(const std::string& target)
    {
        if (rename(m_path.c_str(), target.c_str()) != 0) throw fileError("replace", target);
        m_renamed = true;
    }

private:
    std::string m_path;
    int m_fd = -1;
    bool m_renamed = false;
};

} // namespace

std::vector<Setting> readSettingsFile(const std::string& path)
{
    std::ifstream in(path);
    if (!in) throw std::runtime_error("cannot read " + path);
    std::vector<Setting> settings;
    std::map<std::string, std::size_t> seen;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const std::string text = trim(line.substr(0, line.find('#')));
        if (text.empty()) continue;
        const std::size_t eq = text.find('=');
        if (eq == std::string::npos)
            throw std::runtime_error(path + ":" + std::to_string(number) + ": expected name=value");
        Setting setting{trim(text.substr(0, eq)), trim(text.substr(eq + 1)), number};
        if (const auto earlier = seen.find(setting.name); earlier != seen.end()) {
            const Setting& first = settings[earlier->second];
            if (first.value != setting.value)
                throw std::runtime_error(path + ":" + std::to_string(number) + ": " + setting.name +
                                         " is set again with another value than on line " +
                                         std::to_string(first.line));
            continue;
        }
        seen.emplace(setting.name, settings.size());
        settings.push_back(std::move(setting));
    }
    return settings;
}

std::string settingOf(const std::string& path, const std::string& name)
{
    if (!std::filesystem::exists(path)) return {};
    for (const Setting& setting : readSettingsFile(path))
        if (setting.name == name) return setting.value;
    return {};
}

void addSetting(const std::string& path, const std::string& name, const std::string& value)
{
    std::string text = contentOf(path);
    struct stat status
    {
    };
    const bool existed = stat(path.c_str(), &status) == 0;
    // A last line without its line break (a comment typed by hand) must not swallow the new line.
    if (!text.empty() && text.back() != '\n') text += '\n';
    text += name + '=' + value + '\n';

    TemporaryFile temporary(path);
    temporary.write(text, path);
    // The settings hold the seal key: nobody but the owner reads them, whatever the mode was.
    if (existed) temporary.keepMode(status.st_mode & 0700, path);
    // Read back before it replaces anything: a file that would not read as intended is not put in
    // place (a line it had already at fault, the same setting with another value).
    try {
        if (settingOf(temporary.path(), name) != value)
            throw std::runtime_error(name + " would not read back as written");
    } catch (const std::runtime_error& error) {
        std::string why = error.what();
        if (why.rfind(temporary.path(), 0) == 0) why = path + why.substr(temporary.path().size());
        throw std::runtime_error(why + " (" + path + " left as it was)");
    }
    temporary.renameTo(path);
    // The folder's entry made durable too, so the renamed file survives a power cut.
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    if (const int dir = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY); dir >= 0) {
        fsync(dir);
        close(dir);
    }
    if (settingOf(path, name) != value)
        throw std::runtime_error(path + ": " + name + " does not read back as written");
}

} // namespace ormex::platform
