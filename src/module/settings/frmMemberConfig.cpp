#include "frmMemberConfig.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QVBoxLayout>

#include "module/frame/Gateway.h"
#include "module/frame/LogCategories.h"
#include "module/frame/NumberEntry.h"
#include "module/frame/ScreenKeys.h"
#include "module/frame/Session.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::settings {

namespace {

QString q(std::string_view s)
{
    return QString::fromUtf8(s.data(), static_cast<int>(s.size()));
}

QCheckBox* checkBox(QWidget* parent, const char* name, const char* caption)
{
    auto* box = new QCheckBox(QString::fromUtf8(caption), parent);
    box->setObjectName(name);
    return box;
}

QLineEdit* lineEdit(QWidget* parent, const char* name)
{
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(name);
    return edit;
}

// An amount in the two-decimal format of the number fields; other text is kept as it is.
std::string amountText(const std::string& value)
{
    if (auto number = platform::parseTypedNumber(value, 2)) return platform::formatFixed(*number, 2);
    return value;
}

// What the amount fields are called on the screen, for the refusal of a text that is no amount.
const char* amountCaption(std::string_view key)
{
    if (key == "LeaveAmount") return "储值卡保底金额";
    if (key == "DailyAmtLimit") return "每日限额";
    if (key == "MaxFillAmount") return "储值卡最大充值金额";
    if (key == "MothlyAmtLimit") return "每月限额";
    return "储值卡消费金额超过";
}

QRadioButton* option(const QWidget* screen, std::string_view control, int index)
{
    return screen->findChild<QRadioButton*>(q(control) + QStringLiteral("_%1").arg(index));
}

} // namespace

frmMemberConfig::frmMemberConfig(QWidget* parent) : frame::ModuleForm(parent)
{
    setObjectName("frmMemberConfig");
    setWindowTitle(QStringLiteral("会员设置"));
    buildUi();
    connectChangeTracking();
    frame::InstallScreenKeys(*this, m_tabs);
}

void frmMemberConfig::buildUi()
{
    auto* root = new QVBoxLayout(this);
    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName("SSTabConfig");
    root->addWidget(m_tabs);

    // Tab 0: the card media and the business switches.
    auto* cardTab = new QWidget;
    auto* cardGrid = new QGridLayout(cardTab);
    m_cmbMCType = new QComboBox(cardTab);
    m_cmbMCType->setObjectName("cmbMCType");
    auto* cmbSVCType = new QComboBox(cardTab);
    cmbSVCType->setObjectName("cmbSVCType");
    cardGrid->addWidget(new QLabel(QStringLiteral("会员卡类型*"), cardTab), 0, 0);
    cardGrid->addWidget(m_cmbMCType, 0, 1);
    cardGrid->addWidget(new QLabel(QStringLiteral("储值卡类型"), cardTab), 0, 2);
    cardGrid->addWidget(cmbSVCType, 0, 3);
    cardGrid->addWidget(new QLabel(QStringLiteral("读卡器前缀"), cardTab), 1, 0);
    cardGrid->addWidget(lineEdit(cardTab, "txtCardNumProfix"), 1, 1);
    cardGrid->addWidget(new QLabel(QStringLiteral("读卡器后缀"), cardTab), 1, 2);
    cardGrid->addWidget(lineEdit(cardTab, "txtCardNumSuffix"), 1, 3);
    m_chkSetVipGift = checkBox(cardTab, "ChkSetVipGift", "礼品设置由总部统一维护");
    int row = 2;
    for (QCheckBox* box :
         {checkBox(cardTab, "chkGoodsPointWork", "商品积分设置是否有效"),
          checkBox(cardTab, "chkCoverCardNum", "刷会员卡时掩盖卡号"),
          checkBox(cardTab, "chkPrintCardNum", "会员前台消费打印卡号信息"),
          checkBox(cardTab, "chkUptMemMsgDirect", "分店上传会员信息时即时更新会员档案"),
          checkBox(cardTab, "chkPrintMemName", "会员前台消费打印会员姓名"),
          checkBox(cardTab, "chkBranchShareMem", "会员在各分店通用"),
          checkBox(cardTab, "chkManPointRuleIndep", "门店自行管理会员类别积分规则"), m_chkSetVipGift})
        cardGrid->addWidget(box, row++, 0, 1, 4);
    m_scopeLine = new QFrame(cardTab);
    m_scopeLine->setObjectName("lineScope");
    m_scopeLine->setFrameShape(QFrame::HLine);
    cardGrid->addWidget(m_scopeLine, row++, 0, 1, 4);
    m_lblScope = new QLabel(QStringLiteral("使用范围"), cardTab);
    m_lblScope->setObjectName("lblSVCardShareType");
    cardGrid->addWidget(m_lblScope, row++, 0, 1, 4);
    const char* scopes[2] = {"限发卡店使用，各分店独立管理会员，且会员信息不共享。",
                             "各分店通用，会员信息由总部统一维护，且使用储值功能时必须实时联网。"};
    for (int i = 0; i < 2; ++i) {
        auto* scope = new QRadioButton(QString::fromUtf8(scopes[i]), cardTab);
        scope->setObjectName(QStringLiteral("optSVCardShareType_%1").arg(i));
        cardGrid->addWidget(scope, row++, 0, 1, 4);
    }
    cardGrid->setRowStretch(row, 1);
    m_tabs->addTab(cardTab, QStringLiteral("会员卡设置"));

    // Tab 1: the stored-value limits.
    auto* valueTab = new QWidget;
    auto* valueGrid = new QGridLayout(valueTab);
    m_fltLeaveAmount = lineEdit(valueTab, "fltLeaveAmount");
    m_fltDailyAmtLimit = lineEdit(valueTab, "fltDailyAmtLimit");
    auto* fltMaxFillAmount = lineEdit(valueTab, "fltMaxFillAmount");
    m_fltMothlyAmtLimit = lineEdit(valueTab, "fltMothlyAmtLimit");
    m_fltLimitAmount = lineEdit(valueTab, "fltLimitAmount");
    valueGrid->addWidget(new QLabel(QStringLiteral("储值卡保底金额"), valueTab), 0, 0);
    valueGrid->addWidget(m_fltLeaveAmount, 0, 1);
    valueGrid->addWidget(new QLabel(QStringLiteral("元"), valueTab), 0, 2);
    valueGrid->addWidget(new QLabel(QStringLiteral("每日限额"), valueTab), 1, 0);
    valueGrid->addWidget(m_fltDailyAmtLimit, 1, 1);
    valueGrid->addWidget(new QLabel(QStringLiteral("储值卡最大充值金额"), valueTab), 2, 0);
    valueGrid->addWidget(fltMaxFillAmount, 2, 1);
    valueGrid->addWidget(new QLabel(QStringLiteral("每月限额"), valueTab), 3, 0);
    valueGrid->addWidget(m_fltMothlyAmtLimit, 3, 1);
    m_chkInputPSWOverLim = checkBox(valueTab, "chkInputPSWOverLim", "储值卡消费金额超过");
    valueGrid->addWidget(checkBox(valueTab, "chkAllowFillPlusAmt", "储值卡充值金额允许为负"), 4, 0, 1, 3);
    valueGrid->addWidget(checkBox(valueTab, "chkPrintCardShowNum", "POS消费时储值卡消费打印卡面号码"), 5, 0,
                         1, 3);
    auto* limitRow = new QHBoxLayout;
    limitRow->addWidget(m_chkInputPSWOverLim);
    limitRow->addWidget(m_fltLimitAmount);
    limitRow->addWidget(new QLabel(QStringLiteral("元 时需要输入密码"), valueTab));
    valueGrid->addLayout(limitRow, 6, 0, 1, 3);
    valueGrid->setRowStretch(7, 1);
    m_tabs->addTab(valueTab, QStringLiteral("储值卡设置"));

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    m_cmdSave = new QPushButton(QStringLiteral("确定(&s)"), this);
    m_cmdSave->setObjectName("cmdSave");
    m_cmdSave->setAutoDefault(false);
    m_cmdExit = new QPushButton(QStringLiteral("退出(&x)"), this);
    m_cmdExit->setObjectName("cmdExit");
    m_cmdExit->setAutoDefault(false);
    buttons->addWidget(m_cmdSave);
    buttons->addWidget(m_cmdExit);
    root->addLayout(buttons);

    connect(m_cmdSave, &QPushButton::clicked, this, &frmMemberConfig::onSave);
    connect(m_cmdExit, &QPushButton::clicked, this, &frmMemberConfig::onExit);
    connect(m_tabs, &QTabWidget::currentChanged, this, &frmMemberConfig::onTabChanged);
    // The password threshold only switches its amount field on and off.
    connect(m_chkInputPSWOverLim, &QCheckBox::toggled, m_fltLimitAmount, &QWidget::setEnabled);
    resize(560, 460);
}

QWidget* frmMemberConfig::control(const MemberSetting& setting) const
{
    const QString name =
        setting.kind == SettingKind::Options ? q(setting.control) + "_0" : q(setting.control);
    return findChild<QWidget*>(name);
}

void frmMemberConfig::connectChangeTracking()
{
    // Every edit marks the settings as changed, except while the screen is putting values in.
    for (const MemberSetting& setting : kMemberSettings) {
        if (!setting.marksChange) continue;
        switch (setting.kind) {
        case SettingKind::List:
            connect(static_cast<QComboBox*>(control(setting)), &QComboBox::currentIndexChanged, this,
                    &frmMemberConfig::markChanged);
            break;
        case SettingKind::Text:
        case SettingKind::Amount:
            connect(static_cast<QLineEdit*>(control(setting)), &QLineEdit::textChanged, this,
                    &frmMemberConfig::markChanged);
            break;
        case SettingKind::Flag:
            connect(static_cast<QCheckBox*>(control(setting)), &QCheckBox::clicked, this,
                    &frmMemberConfig::markChanged);
            break;
        case SettingKind::Options:
            for (int i = 0; i < 2; ++i)
                connect(option(this, setting.control, i), &QRadioButton::clicked, this,
                        &frmMemberConfig::markChanged);
            break;
        }
        if (setting.kind == SettingKind::Amount) {
            auto* edit = static_cast<QLineEdit*>(control(setting));
            edit->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
            // An amount typed takes the two-decimal format when the field is left; anything else
            // stays as typed until the save refuses it.
            connect(edit, &QLineEdit::editingFinished, this, [edit] {
                if (edit->isModified()) edit->setText(q(amountText(edit->text().toStdString())));
            });
        }
    }
}

void frmMemberConfig::loadForm()
{
    m_loading = true;
    prepareControls();
    m_settings = {};
    m_haveSettings = false;
    try {
        m_settings = frame::ConfigObject()->getConfigInfo("VIP");
        m_haveSettings = true;
    } catch (const std::exception& error) {
        qCWarning(lcSettings, "reading the member settings failed: %s", error.what());
        frame::Messages().error(error.what());
    }
    applyBranchRestrictions();
    if (m_haveSettings) showValues();
    m_loading = false;
    m_changed = false;
    m_cmdSave->setEnabled(false);
}

void frmMemberConfig::prepareControls()
{
    m_loadedAmounts.clear();
    for (QComboBox* combo : findChildren<QComboBox*>()) {
        combo->clear();
        combo->addItems({QStringLiteral("条码卡"), QStringLiteral("磁卡")});
        combo->setCurrentIndex(-1);
    }
    for (QLineEdit* edit : findChildren<QLineEdit*>())
        edit->clear();
    for (QCheckBox* box : findChildren<QCheckBox*>())
        box->setChecked(false);
    for (QRadioButton* scope : findChildren<QRadioButton*>()) {
        scope->setAutoExclusive(false);
        scope->setChecked(false);
        scope->setAutoExclusive(true);
        scope->setVisible(false);
    }
    for (QWidget* widget : findChildren<QWidget*>())
        widget->setEnabled(true);
    m_tabs->setCurrentIndex(0);
    m_chkSetVipGift->setVisible(false);
    m_lblScope->setVisible(false);
    m_scopeLine->setVisible(false);
}

void frmMemberConfig::applyBranchRestrictions()
{
    const bool branch = frame::IsBranch();
    const bool shared = frame::IsStoredValueShared();
    m_linkedBranch = branch && shared;
    if (m_linkedBranch)
        for (const MemberSetting& setting : kMemberSettings)
            if (!setting.linkedBranchEditable) control(setting)->setEnabled(false);
    // Only headquarters, sharing its cards with the branches, decides who keeps the gifts.
    if (branch || !shared) m_chkSetVipGift->setEnabled(false);
}

void frmMemberConfig::showValues()
{
    for (const MemberSetting& setting : kMemberSettings)
        showValue(setting, m_settings.text(setting.key));
    m_fltLimitAmount->setEnabled(m_chkInputPSWOverLim->isChecked() && m_chkInputPSWOverLim->isEnabled());
}

void frmMemberConfig::showValue(const MemberSetting& setting, const std::string& stored)
{
    QWidget* widget = control(setting);
    const int index = static_cast<int>(platform::numberOr0(stored));
    switch (setting.kind) {
    case SettingKind::List:
        static_cast<QComboBox*>(widget)->setCurrentIndex(index);
        break;
    case SettingKind::Text:
        static_cast<QLineEdit*>(widget)->setText(q(stored));
        break;
    case SettingKind::Flag:
        static_cast<QCheckBox*>(widget)->setChecked(platform::numberOr0(stored) == 1.0);
        break;
    case SettingKind::Options:
        if (index == 0 || index == 1) option(this, setting.control, index)->setChecked(true);
        break;
    case SettingKind::Amount: {
        const std::string shown = amountText(stored);
        m_loadedAmounts[std::string(setting.key)] = {shown, stored};
        static_cast<QLineEdit*>(widget)->setText(q(shown));
        break;
    }
    }
}

std::string frmMemberConfig::controlValue(const MemberSetting& setting) const
{
    const QWidget* widget = control(setting);
    switch (setting.kind) {
    case SettingKind::List:
        return std::to_string(static_cast<const QComboBox*>(widget)->currentIndex());
    case SettingKind::Text:
        return static_cast<const QLineEdit*>(widget)->text().toStdString();
    case SettingKind::Flag:
        return static_cast<const QCheckBox*>(widget)->isChecked() ? "1" : "0";
    case SettingKind::Options:
        return option(this, setting.control, 0)->isChecked() ? "0" : "1";
    case SettingKind::Amount: {
        const std::string text = static_cast<const QLineEdit*>(widget)->text().toStdString();
        const auto loaded = m_loadedAmounts.find(setting.key);
        if (loaded != m_loadedAmounts.end() && loaded->second.first == text) return loaded->second.second;
        return text;
    }
    }
    return {};
}

void frmMemberConfig::markChanged()
{
    if (m_loading) return;
    m_changed = true;
    m_cmdSave->setEnabled(true);
}

platform::FieldMap frmMemberConfig::currentValues() const
{
    platform::FieldMap values;
    for (const MemberSetting& setting : kMemberSettings)
        values.set(setting.key, controlValue(setting));
    return values;
}

bool frmMemberConfig::validate()
{
    // An amount the operator typed must be one; what was stored and left untouched is written
    // back as it was.
    for (const MemberSetting& setting : kMemberSettings) {
        if (setting.kind != SettingKind::Amount) continue;
        auto* edit = static_cast<QLineEdit*>(control(setting));
        const std::string text = platform::trim(edit->text().toStdString());
        const auto loaded = m_loadedAmounts.find(setting.key);
        if (text.empty() ||
            (loaded != m_loadedAmounts.end() && loaded->second.first == edit->text().toStdString()) ||
            platform::parseTypedNumber(text, 2))
            continue;
        frame::Messages().message(frame::NotANumberRefusal(amountCaption(setting.key), 2, text));
        m_tabs->setCurrentIndex(1);
        edit->setFocus();
        return false;
    }
    const std::string message = checkSpendingLimits(m_fltDailyAmtLimit->text().toStdString(),
                                                    m_fltMothlyAmtLimit->text().toStdString());
    if (message.empty()) return true;
    frame::Messages().message(message);
    m_tabs->setCurrentIndex(1);
    m_fltMothlyAmtLimit->setFocus();
    return false;
}

bool frmMemberConfig::save()
{
    bool saved = false;
    try {
        const platform::FieldMap values = currentValues();
        std::string batch = buildSettingsSaveBatch(values);
        m_settings = {};
        m_haveSettings = false;
        saved = frame::ConfigObject()->saveConfigInfo(batch);
        if (saved) {
            m_cmdSave->setEnabled(false);
            // What the amount fields show now is what is stored.
            for (const MemberSetting& setting : kMemberSettings)
                if (setting.kind == SettingKind::Amount)
                    m_loadedAmounts[std::string(setting.key)] = {
                        static_cast<QLineEdit*>(control(setting))->text().toStdString(),
                        values.text(setting.key)};
        }
    } catch (const std::exception& error) {
        qCWarning(lcSettings, "saving the member settings failed: %s", error.what());
        frame::Messages().error(error.what());
        saved = false;
    }
    m_changed = false;
    return saved;
}

void frmMemberConfig::onSave()
{
    if (validate()) save();
}

bool frmMemberConfig::queryUnload()
{
    if (!m_changed) return true;
    if (!frame::Messages().question("数据已经修改，是否保存？")) {
        m_changed = false;
        return true;
    }
    // A save that fails keeps the screen open after the exit button; any other close goes on.
    const bool saved = validate() && save();
    return saved || !m_exitButton;
}

void frmMemberConfig::unloadForm()
{
    m_settings = {};
    m_haveSettings = false;
}

void frmMemberConfig::onExit()
{
    m_exitButton = true;
    close();
    m_exitButton = false;
}

void frmMemberConfig::onTabChanged(int index)
{
    if (m_loading || m_linkedBranch) return;
    if (index == 0)
        m_cmbMCType->setFocus();
    else
        m_fltLeaveAmount->setFocus();
}

} // namespace ormex::module::settings
