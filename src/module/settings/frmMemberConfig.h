#pragma once

#include "module/frame/ModuleForm.h"

#include <map>
#include <string>

#include "MemberSettingsKeys.h"
#include "platform/FieldMap.h"

class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;
class QTabWidget;

namespace ormex::module::settings {

// 会员设置: the company-wide member-card settings of category "VIP". Loads them through the
// configuration object, tracks changes, checks the spending limits and writes all keys back in
// one batch of updates. Which control shows which key, and how, is the table kMemberSettings.
class frmMemberConfig : public frame::ModuleForm
{
public:
    explicit frmMemberConfig(QWidget* parent = nullptr);

    // Runs on every showing: prepares the controls, reads the settings, applies the branch
    // restrictions and shows the values.
    void loadForm() override;

    bool isChanged() const { return m_changed; }

    // Checks the daily and monthly limits; on failure shows the message, opens tab 1 and puts the
    // focus on the monthly limit.
    bool validate();
    // Writes the 21 keys; true when the configuration object applied the batch.
    bool save();
    // The values of the controls as the save writes them, by key.
    platform::FieldMap currentValues() const;

protected:
    // The exit flow: asks "数据已经修改，是否保存？" when something changed.
    bool queryUnload() override;
    void unloadForm() override;

private:
    void buildUi();
    void connectChangeTracking();
    void prepareControls();
    void applyBranchRestrictions();
    void showValues();
    void showValue(const MemberSetting& setting, const std::string& stored);
    std::string controlValue(const MemberSetting& setting) const;
    QWidget* control(const MemberSetting& setting) const;
    void markChanged();
    void onSave();
    void onExit();
    void onTabChanged(int index);

    QTabWidget* m_tabs = nullptr;
    QComboBox* m_cmbMCType = nullptr;
    QCheckBox* m_chkSetVipGift = nullptr;
    QCheckBox* m_chkInputPSWOverLim = nullptr;
    QLabel* m_lblScope = nullptr;
    QFrame* m_scopeLine = nullptr;
    QLineEdit* m_fltLeaveAmount = nullptr;
    QLineEdit* m_fltDailyAmtLimit = nullptr;
    QLineEdit* m_fltMothlyAmtLimit = nullptr;
    QLineEdit* m_fltLimitAmount = nullptr;
    QPushButton* m_cmdSave = nullptr;
    QPushButton* m_cmdExit = nullptr;

    platform::FieldMap m_settings;
    // What each amount field showed when loaded, and the value stored then: a field still
    // showing that text is written back exactly as stored.
    std::map<std::string, std::pair<std::string, std::string>, std::less<>> m_loadedAmounts;
    bool m_haveSettings = false;
    bool m_loading = false;
    bool m_changed = false;
    bool m_linkedBranch = false;
    bool m_exitButton = false;
};

} // namespace ormex::module::settings
