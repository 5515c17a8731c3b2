#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/SettingsFile.h"

namespace {

namespace fs = std::filesystem;
using ormex::platform::addSetting;
using ormex::platform::settingOf;

class SettingsFile : public ::testing::Test
{
protected:
    fs::path dir = fs::temp_directory_path() / ("ormex-settings-" + std::to_string(getpid()));
    std::string path = (dir / "host.conf").string();
    void SetUp() override { fs::create_directories(dir); }
    void TearDown() override { fs::remove_all(dir); }

    void write(const std::string& text) { std::ofstream(path, std::ios::binary) << text; }
    std::string content() const
    {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        return text.str();
    }
    mode_t mode() const
    {
        struct stat status
        {
        };
        stat(path.c_str(), &status);
        return status.st_mode & 0777;
    }
    // Nothing but the settings file itself is left in the folder (no temporary file).
    std::size_t files() const
    {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(dir), fs::directory_iterator()));
    }
};

TEST_F(SettingsFile, AnAddedSettingNeverLandsInsideTheLastLineAndOtherLinesStay)
{
    write("# branch settings");
    addSetting(path, "seal-key", "abc");
    EXPECT_EQ(content(), "# branch settings\nseal-key=abc\n");
    EXPECT_EQ(settingOf(path, "seal-key"), "abc");

    write("data = /srv/ormex  # where the files are\r\n\nuser=cashier");
    addSetting(path, "seal-key", "abc");
    EXPECT_EQ(content(), "data = /srv/ormex  # where the files are\r\n\nuser=cashier\nseal-key=abc\n");
    EXPECT_EQ(settingOf(path, "data"), "/srv/ormex");
    EXPECT_EQ(files(), 1u);
}

TEST_F(SettingsFile, TheFileIsTheOwnersOnlyFromItsFirstByte)
{
    addSetting(path, "seal-key", "abc");
    EXPECT_EQ(mode(), 0600u);
    EXPECT_EQ(content(), "seal-key=abc\n");

    fs::remove(path);
    write("user=cashier\n");
    chmod(path.c_str(), 0744);
    addSetting(path, "hq-deadline-seconds", "5");
    EXPECT_EQ(mode(), 0700u);
}

TEST_F(SettingsFile, TwoValuesOfOneSettingAreAnErrorNamingTheFileAndLine)
{
    write("seal-key=aa\n# again\nseal-key=bb\n");
    try {
        settingOf(path, "seal-key");
        FAIL() << "two keys were read as one";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find(path + ":3: seal-key"), std::string::npos) << error.what();
    }
    // The same value twice says the same thing: no error.
    write("seal-key=aa\nseal-key=aa\n");
    EXPECT_EQ(settingOf(path, "seal-key"), "aa");
}

TEST_F(SettingsFile, AFileThatWouldNotReadBackIsLeftAsItWas)
{
    const std::string before = "user=cashier\nthis line has no equals sign\n";
    write(before);
    EXPECT_THROW(addSetting(path, "seal-key", "abc"), std::runtime_error);
    EXPECT_EQ(content(), before);
    EXPECT_EQ(files(), 1u);

    write("seal-key=aa\n");
    EXPECT_THROW(addSetting(path, "seal-key", "bb"), std::runtime_error);
    EXPECT_EQ(content(), "seal-key=aa\n");
}

TEST_F(SettingsFile, AnUnreadableFileIsAnErrorNotAnAbsentSetting)
{
    if (geteuid() == 0) GTEST_SKIP() << "root reads any file";
    write("seal-key=aa\n");
    chmod(path.c_str(), 0);
    EXPECT_THROW(settingOf(path, "seal-key"), std::runtime_error);
    EXPECT_THROW(addSetting(path, "other", "1"), std::runtime_error);
}

} // namespace
