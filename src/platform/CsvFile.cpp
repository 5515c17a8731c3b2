#include "CsvFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "NumberText.h"

namespace ormex::platform {

namespace {

std::string causeOf(int error)
{
    switch (error) {
    case EACCES:
    case EPERM:
        return "没有写入该文件夹的权限";
    case ENOENT:
    case ENOTDIR:
        return "文件夹不存在";
    case ENOSPC:
    case EDQUOT:
        return "磁盘空间不足";
    case EROFS:
        return "磁盘是只读的";
    case EISDIR:
        return "已有同名的文件夹";
    default:
        return std::strerror(error);
    }
}

[[noreturn]] void failWriting(const std::string& path, int error)
{
    throw std::runtime_error("无法写入文件“" + path + "”：" + causeOf(error) + "。");
}

// A new file beside the target, removed again unless it was put in the target's place.
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::string& target)
    {
        static std::atomic<unsigned> serial{0};
        const std::filesystem::path path(target);
        const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
        // A name of its own for each attempt: a leftover of an earlier failure is not touched.
        for (int attempt = 0; m_fd < 0 && attempt < 100; ++attempt) {
            m_path = (folder / ("." + path.filename().string() + "." + std::to_string(::getpid()) + "." +
                                std::to_string(serial++) + ".tmp"))
                         .string();
            m_fd = ::open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (m_fd < 0 && errno != EEXIST) failWriting(target, errno);
        }
        if (m_fd < 0) failWriting(target, EEXIST);
    }
    ~TemporaryFile()
    {
        if (m_fd >= 0) ::close(m_fd);
        if (!m_placed) ::unlink(m_path.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    // 0, or the errno of the failure.
    int write(std::string_view bytes)
    {
        while (!bytes.empty()) {
            const ssize_t written = ::write(m_fd, bytes.data(), bytes.size());
            if (written < 0) {
                if (errno == EINTR) continue;
                return errno;
            }
            bytes.remove_prefix(static_cast<std::size_t>(written));
        }
        // On the disk before it takes the target's place: a crash leaves the old file or the new.
        if (::fsync(m_fd) != 0) return errno;
        const int fd = m_fd;
        m_fd = -1;
        return ::close(fd) == 0 ? 0 : errno;
    }

    int placeAt(const std::string& target)
    {
        if (::rename(m_path.c_str(), target.c_str()) != 0) return errno;
        m_placed = true;
        return 0;
    }

private:
    std::string m_path;
    int m_fd = -1;
    bool m_placed = false;
};

// The characters Windows and the spreadsheet programs refuse in a file name, and control
// characters, become "_".
std::string safeFileName(const std::string& title)
{
    std::string name;
    for (char ch : title)
        name += (static_cast<unsigned char>(ch) < 0x20 || std::strchr("\\/:*?\"<>|", ch)) ? '_' : ch;
    return name.empty() ? std::string("导出") : name;
}

} // namespace

std::string csvField(std::string_view original)
{
    // A spreadsheet runs a cell that begins with = + - @ (or a tab or CR before one) as a formula:
    // a member's name or memo typed as "=HYPERLINK(…)" must open as the text it is. A quote before
    // it makes the cell text; plain numbers ("-5.00") are no formula and stay numbers.
    std::string prefixed;
    std::string_view text = original;
    if (!text.empty() && std::string_view("=+-@\t\r").find(text.front()) != std::string_view::npos &&
        !parseNumber(text)) {
        prefixed = "'" + std::string(text);
        text = prefixed;
    }
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
    std::string field = "\"";
    for (char ch : text) {
        if (ch == '"') field += '"';
        field += ch;
    }
    return field + '"';
}

std::string csvText(const CsvRows& rows)
{
    std::string text(kUtf8Bom);
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i > 0) text += ',';
            text += csvField(row[i]);
        }
        text += "\r\n";
    }
    return text;
}

void writeFileWhole(const std::string& path, std::string_view bytes)
{
    TemporaryFile file(path);
    if (const int error = file.write(bytes)) failWriting(path, error);
    if (const int error = file.placeAt(path)) failWriting(path, error);
}

bool saveCsv(MessageService& dialogue, const std::string& fileTitle, const CsvRows& rows)
{
    const auto chosen =
        dialogue.saveFileName("导出CSV", safeFileName(fileTitle) + ".csv", "CSV 文件 (*.csv)");
    if (!chosen || chosen->empty()) return false;
    std::string path = *chosen;
    // A name typed without an extension still opens in a spreadsheet program.
    if (std::filesystem::path(path).extension().empty()) path += ".csv";
    try {
        writeFileWhole(path, csvText(rows));
    } catch (const std::exception& error) {
        dialogue.error(std::string("导出CSV失败。") + error.what());
        return false;
    }
    return true;
}

} // namespace ormex::platform
