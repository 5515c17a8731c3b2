// The member settings screen against a real host session: load, change tracking, the limit
// check, the saved batch and the exit question.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>

#include <cstdlib>

#include "host/core/SettingsMaintain.h"
#include "module/settings/MemberSettingsKeys.h"
#include "module/settings/frmMemberConfig.h"
#include "support/TestHost.h"

using namespace ormex;
using module::settings::frmMemberConfig;

namespace {

// Keeps the batches the screen hands over, then lets the host apply them.
class RecordingConfig : public host::SettingsMaintain
{
public:
    RecordingConfig(std::string path, std::vector<std::string>& batches)
        : host::SettingsMaintain(std::move(path)), m_batches(batches)
    {
    }
    bool saveConfigInfo(std::string& batch) override
    {
        m_batches.push_back(batch);
        return host::SettingsMaintain::saveConfigInfo(batch);
    }

private:
    std::vector<std::string>& m_batches;
};

class SettingsScreen
{
public:
    explicit SettingsScreen(test::TestHostOptions options = {}) : host(options)
    {
        std::string values;
        for (const auto& setting : module::settings::kMemberSettings) {
            const std::string_view key = setting.key;
            std::string value = "0";
            if (key == "MCType" || key == "InputPSWOverLim" || key == "SetVipGiftAtZb" ||
                key == "SVCardShareType")
                value = "1";
            else if (key == "CardNumProfix")
                value = ";";
            else if (key == "CardNumSuffix")
                value = "?";
            else if (key == "DailyAmtLimit")
                value = "200";
            else if (key == "MothlyAmtLimit")
                value = "3000";
            else if (key == "LimitAmount")
                value = "500";
            values +=
                std::string(values.empty() ? "" : ",") + "('VIP','" + std::string(key) + "','" + value + "')";
        }
        host.branch().exec("insert into t_SystemProfile values " + values);
        const std::string path = host.config().databasePath();
        platform::HostServices::instance().factory().registerClass(
            "OrmexMCardManage.ConfigMaintain",
            [this, path] { return std::make_shared<RecordingConfig>(path, batches); });
        screen.loadForm();
    }
    template <class W> W* get(const char* name) { return screen.findChild<W*>(name); }
    std::string stored(const char* key)
    {
        return host.branch()
            .scalar(std::string("select FValue from t_SystemProfile where FKey='") + key + "'")
            .toString();
    }

    test::TestHost host;
    std::vector<std::string> batches;
    frmMemberConfig screen;
};

} // namespace

TEST(MemberSettingsScreen, LoadsTheStoredValues)
{
    SettingsScreen t;
    EXPECT_EQ(t.get<QComboBox>("cmbMCType")->currentText(), "磁卡");
    EXPECT_EQ(t.get<QComboBox>("cmbSVCType")->currentText(), "条码卡");
    EXPECT_EQ(t.get<QLineEdit>("txtCardNumProfix")->text(), ";");
    EXPECT_EQ(t.get<QLineEdit>("fltDailyAmtLimit")->text(), "200.00") << "amounts show two decimals";
    EXPECT_TRUE(t.get<QCheckBox>("chkInputPSWOverLim")->isChecked());
    EXPECT_TRUE(t.get<QLineEdit>("fltLimitAmount")->isEnabled());
    EXPECT_FALSE(t.get<QCheckBox>("ChkSetVipGift")->isVisible());
    EXPECT_FALSE(t.get<QPushButton>("cmdSave")->isEnabled());
    EXPECT_FALSE(t.screen.isChanged());
    EXPECT_EQ(t.get<QTabWidget>("SSTabConfig")->currentIndex(), 0);
    t.get<QCheckBox>("chkInputPSWOverLim")->click();
    EXPECT_FALSE(t.get<QLineEdit>("fltLimitAmount")->isEnabled());
    EXPECT_FALSE(t.screen.isChanged()) << "the password threshold box only switches its amount";
    t.get<QCheckBox>("chkCoverCardNum")->click();
    EXPECT_TRUE(t.screen.isChanged());
    EXPECT_TRUE(t.get<QPushButton>("cmdSave")->isEnabled());
    if (const char* folder = std::getenv("ORMEX_SHOTS")) {
        t.get<QTabWidget>("SSTabConfig")->setCurrentIndex(1);
        t.screen.grab().save(QString::fromUtf8(folder) + "/member-settings.png");
    }
}

TEST(MemberSettingsScreen, TheDailyLimitMayNotExceedTheMonthlyLimit)
{
    SettingsScreen t;
    t.get<QLineEdit>("fltDailyAmtLimit")->setText("500");
    t.get<QLineEdit>("fltMothlyAmtLimit")->setText("300");
    t.get<QPushButton>("cmdSave")->click();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"储值卡每月消费限额需大于每日消费限额！"});
    EXPECT_EQ(t.get<QTabWidget>("SSTabConfig")->currentIndex(), 1);
    EXPECT_TRUE(t.batches.empty());
    EXPECT_EQ(t.stored("DailyAmtLimit"), "200");

    t.get<QLineEdit>("fltMothlyAmtLimit")->setText("500");
    t.get<QPushButton>("cmdSave")->click();
    ASSERT_EQ(t.batches.size(), 1u);
    EXPECT_EQ(t.stored("DailyAmtLimit"), "500");
    EXPECT_FALSE(t.get<QPushButton>("cmdSave")->isEnabled());
}

TEST(MemberSettingsScreen, AnAmountTypedIsSavedAsTypedOrRefused)
{
    SettingsScreen t;
    t.screen.show();
    auto* maximum = t.get<QLineEdit>("fltMaxFillAmount");
    maximum->setFocus();
    maximum->selectAll();
    QTest::keyClicks(maximum, "1e3");
    EXPECT_EQ(maximum->text(), "1e3") << "no key is swallowed";
    t.get<QPushButton>("cmdSave")->click();
    EXPECT_EQ(t.host.messages().texts(),
              std::vector<std::string>{"【储值卡最大充值金额】只能输入数字，最多2位小数，不能接受“1e3”！"});
    EXPECT_TRUE(t.batches.empty());
    EXPECT_EQ(t.stored("MaxFillAmount"), "0");

    maximum->selectAll();
    QTest::keyClicks(maximum, "-5.5");
    t.get<QPushButton>("cmdSave")->click();
    ASSERT_EQ(t.batches.size(), 1u);
    EXPECT_EQ(t.stored("MaxFillAmount"), "-5.5") << "the sign typed is kept";
}

TEST(MemberSettingsScreen, SavesEveryKeyWithReaderQuotesDoubled)
{
    SettingsScreen t;
    t.get<QLineEdit>("txtCardNumProfix")->setText("A'B");
    t.get<QComboBox>("cmbSVCType")->setCurrentIndex(1);
    t.get<QPushButton>("cmdSave")->click();
    ASSERT_EQ(t.batches.size(), 1u);
    const std::string& batch = t.batches[0];
    EXPECT_NE(batch.find("UPDATE t_systemprofile SET FValue = 'A''B' WHERE (FCategory = 'VIP') AND (FKey = "
                         "'CardNumProfix')\r\n"),
              std::string::npos);
    EXPECT_EQ(batch.substr(0, batch.find("\r\n")),
              "UPDATE t_systemprofile SET FValue = '1' WHERE (FCategory = 'VIP') AND (FKey = 'MCType')");
    EXPECT_EQ(t.stored("CardNumProfix"), "A'B");
    EXPECT_EQ(t.stored("SVCType"), "1");
    EXPECT_EQ(t.stored("SetVipGiftAtZb"), "1") << "hidden keys are saved as loaded";
    EXPECT_EQ(t.stored("SVCardShareType"), "1");
    EXPECT_EQ(t.stored("LimitAmount"), "500");
}

TEST(MemberSettingsScreen, LinkedBranchWritesItsLockedFieldsBackUnchanged)
{
    SettingsScreen t({.isBranch = true, .svCardShareType = true});
    for (const char* name :
         {"cmbMCType", "txtCardNumProfix", "fltMaxFillAmount", "chkAllowFillPlusAmt", "fltLimitAmount"})
        EXPECT_FALSE(t.screen.findChild<QWidget*>(name)->isEnabled()) << name;
    EXPECT_TRUE(t.get<QCheckBox>("chkPrintMemName")->isEnabled());
    t.get<QCheckBox>("chkPrintMemName")->click();
    t.get<QPushButton>("cmdSave")->click();
    EXPECT_EQ(t.stored("PrintMemName"), "1");
    EXPECT_EQ(t.stored("MCType"), "1");
    EXPECT_EQ(t.stored("CardNumProfix"), ";");
    EXPECT_EQ(t.stored("DailyAmtLimit"), "200");
}

TEST(MemberSettingsScreen, ExitAsksOnlyWhenSomethingChanged)
{
    {
        SettingsScreen t;
        t.screen.show();
        t.get<QPushButton>("cmdExit")->click();
        EXPECT_TRUE(t.host.messages().shown().empty());
        EXPECT_FALSE(t.screen.isVisible());
    }
    {
        SettingsScreen t;
        t.screen.show();
        t.get<QCheckBox>("chkCoverCardNum")->click();
        t.host.messages().answer(false);
        t.get<QPushButton>("cmdExit")->click();
        EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"数据已经修改，是否保存？"});
        EXPECT_FALSE(t.screen.isVisible());
        EXPECT_TRUE(t.batches.empty());
    }
    {
        SettingsScreen t;
        t.screen.show();
        t.get<QLineEdit>("fltDailyAmtLimit")->setText("9000");
        t.host.messages().answer(true);
        t.get<QPushButton>("cmdExit")->click();
        EXPECT_TRUE(t.screen.isVisible()) << "a refused save keeps the screen open after the exit button";
        t.get<QLineEdit>("fltMothlyAmtLimit")->setText("9000");
        t.host.messages().answer(true);
        t.get<QPushButton>("cmdExit")->click();
        EXPECT_FALSE(t.screen.isVisible());
        EXPECT_EQ(t.stored("MothlyAmtLimit"), "9000");
    }
    {
        SettingsScreen t;
        t.screen.show();
        t.get<QCheckBox>("chkCoverCardNum")->click();
        t.get<QPushButton>("cmdSave")->click();
        t.host.messages().clear();
        t.get<QPushButton>("cmdExit")->click();
        EXPECT_TRUE(t.host.messages().shown().empty()) << "after a save exit closes at once";
    }
}

TEST(MemberSettingsScreen, EscAsksTheExitQuestionToo)
{
    QKeyEvent esc(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    {
        SettingsScreen t;
        t.screen.show();
        t.get<QCheckBox>("chkCoverCardNum")->click();
        t.host.messages().answer(false);
        QApplication::sendEvent(&t.screen, &esc);
        EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"数据已经修改，是否保存？"});
        EXPECT_FALSE(t.screen.isVisible());
        EXPECT_EQ(t.stored("CoverCardNum"), "0") << "No discards the change";
    }
    {
        SettingsScreen t;
        t.screen.show();
        t.get<QCheckBox>("chkCoverCardNum")->click();
        t.host.messages().answer(true);
        QApplication::sendEvent(&t.screen, &esc);
        EXPECT_FALSE(t.screen.isVisible());
        EXPECT_EQ(t.stored("CoverCardNum"), "1") << "Yes saves it";
        EXPECT_EQ(t.stored("DailyAmtLimit"), "200") << "an amount nobody touched is written back as stored";
    }
}

TEST(MemberSettingsScreen, AMissingKeyIsNeverWrittenEmpty)
{
    platform::FieldMap values;
    for (const auto& setting : module::settings::kMemberSettings)
        values.set(setting.key, "1");
    values.remove("LimitAmount");
    EXPECT_THROW(module::settings::buildSettingsSaveBatch(values), std::invalid_argument);
}

TEST(MemberSettingsScreen, KeysMoveOnAndCloseAsksToo)
{
    SettingsScreen t;
    t.screen.show();
    QApplication::setActiveWindow(&t.screen);
    auto* tabs = t.get<QTabWidget>("SSTabConfig");
    QKeyEvent ctrlTab(QEvent::KeyPress, Qt::Key_Tab, Qt::ControlModifier);
    QApplication::sendEvent(t.get<QLineEdit>("txtCardNumProfix"), &ctrlTab);
    EXPECT_EQ(tabs->currentIndex(), 1);
    QApplication::sendEvent(t.get<QLineEdit>("fltLeaveAmount"), &ctrlTab);
    EXPECT_EQ(tabs->currentIndex(), 0) << "from the last tab back to the first";

    t.get<QLineEdit>("txtCardNumProfix")->setFocus();
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QApplication::sendEvent(t.get<QLineEdit>("txtCardNumProfix"), &enter);
    EXPECT_NE(QApplication::focusWidget(), t.get<QLineEdit>("txtCardNumProfix")) << "Enter moves on like Tab";

    t.get<QCheckBox>("chkCoverCardNum")->click();
    t.get<QLineEdit>("fltDailyAmtLimit")->setText("9000");
    t.host.messages().answer(true);
    t.screen.close(); // closing the window asks too, and closes even when the save is refused
    EXPECT_EQ(
        t.host.messages().texts(),
        (std::vector<std::string>{"数据已经修改，是否保存？", "储值卡每月消费限额需大于每日消费限额！"}));
    EXPECT_FALSE(t.screen.isVisible());
}
