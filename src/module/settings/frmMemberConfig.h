#pragma once

#include "module/frame/ModuleForm.h"

#include "platform/FieldMap.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QRadioButton;
class QTabWidget;
class QPushButton;
class QFrame;

namespace ormex::module::settings {

// 会员设置: the company-wide member-card settings of category "VIP". Loads them through the
// configuration object, tracks changes, checks the spending limits and writes all keys back in
// one batch of updates.
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
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildUi();
    void prepareControls();
    void applyBranchRestrictions();
    void showValues();
    void markChanged();
    void onSave();
    void onExit();
    void onTabChanged(int index);
    // The exit flow; `fromButton` keeps the screen open when a save fails.
    bool confirmExit(bool fromButton);

    QTabWidget* m_tabs = nullptr;
    QComboBox* m_cmbMCType = nullptr;
    QComboBox* m_cmbSVCType = nullptr;
    QLineEdit* m_txtCardNumProfix = nullptr;
    QLineEdit* m_txtCardNumSuffix = nullptr;
    QCheckBox* m_chkGoodsPointWork = nullptr;
    QCheckBox* m_chkCoverCardNum = nullptr;
    QCheckBox* m_chkPrintCardNum = nullptr;
    QCheckBox* m_chkUptMemMsgDirect = nullptr;
    QCheckBox* m_chkPrintMemName = nullptr;
    QCheckBox* m_chkBranchShareMem = nullptr;
    QCheckBox* m_chkManPointRuleIndep = nullptr;
    QCheckBox* m_chkSetVipGift = nullptr;
    QLabel* m_lblScope = nullptr;
    QFrame* m_scopeLine = nullptr;
    QRadioButton* m_optSVCardShareType[2] = {nullptr, nullptr};
    QLineEdit* m_fltLeaveAmount = nullptr;
    QLineEdit* m_fltDailyAmtLimit = nullptr;
    QLineEdit* m_fltMaxFillAmount = nullptr;
    QLineEdit* m_fltMothlyAmtLimit = nullptr;
    QLineEdit* m_fltLimitAmount = nullptr;
    QCheckBox* m_chkAllowFillPlusAmt = nullptr;
    QCheckBox* m_chkPrintCardShowNum = nullptr;
    QCheckBox* m_chkInputPSWOverLim = nullptr;
    QPushButton* m_cmdSave = nullptr;
    QPushButton* m_cmdExit = nullptr;

    platform::FieldMap m_settings;
    bool m_haveSettings = false;
    bool m_loading = false;
    bool m_changed = false;
    bool m_linkedBranch = false;
    bool m_closingByButton = false;
};

} // namespace ormex::module::settings
