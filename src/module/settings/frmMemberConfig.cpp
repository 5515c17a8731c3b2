#include "frmMemberConfig.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QTabWidget>
#include <QVBoxLayout>

#include "MemberSettingsKeys.h"
#include "module/frame/Session.h"
#include "platform/BusinessObjects.h"
#include "platform/HostServices.h"
#include "platform/NumberText.h"

namespace ormex::module::settings {

namespace {

using platform::HostServices;

QString q(const std::string& s)
{
    return QString::fromStdString(s);
}
std::string s(const QString& text)
{
    return text.toStdString();
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

// An amount the operator typed, written with two decimals; other text is kept as it is.
QString amountText(const std::string& typed)
{
    if (auto number = platform::parseNumber(typed)) return q(platform::formatFixed(*number, 2));
    return q(typed);
}

} // namespace

frmMemberConfig::frmMemberConfig(QWidget* parent) : frame::ModuleForm(parent)
{
    setObjectName("frmMemberConfig");
    setWindowTitle(QStringLiteral("会员设置"));
    buildUi();
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
    m_cmbSVCType = new QComboBox(cardTab);
    m_cmbSVCType->setObjectName("cmbSVCType");
    m_txtCardNumProfix = lineEdit(cardTab, "txtCardNumProfix");
    m_txtCardNumSuffix = lineEdit(cardTab, "txtCardNumSuffix");
    cardGrid->addWidget(new QLabel(QStringLiteral("会员卡类型*"), cardTab), 0, 0);
    cardGrid->addWidget(m_cmbMCType, 0, 1);
    cardGrid->addWidget(new QLabel(QStringLiteral("储值卡类型"), cardTab), 0, 2);
    cardGrid->addWidget(m_cmbSVCType, 0, 3);
    cardGrid->addWidget(new QLabel(QStringLiteral("读卡器前缀"), cardTab), 1, 0);
    cardGrid->addWidget(m_txtCardNumProfix, 1, 1);
    cardGrid->addWidget(new QLabel(QStringLiteral("读卡器后缀"), cardTab), 1, 2);
    cardGrid->addWidget(m_txtCardNumSuffix, 1, 3);
    m_chkGoodsPointWork = checkBox(cardTab, "chkGoodsPointWork", "商品积分设置是否有效");
    m_chkCoverCardNum = checkBox(cardTab, "chkCoverCardNum", "刷会员卡时掩盖卡号");
    m_chkPrintCardNum = checkBox(cardTab, "chkPrintCardNum", "会员前台消费打印卡号信息");
    m_chkUptMemMsgDirect = checkBox(cardTab, "chkUptMemMsgDirect", "分店上传会员信息时即时更新会员档案");
    m_chkPrintMemName = checkBox(cardTab, "chkPrintMemName", "会员前台消费打印会员姓名");
    m_chkBranchShareMem = checkBox(cardTab, "chkBranchShareMem", "会员在各分店通用");
    m_chkManPointRuleIndep = checkBox(cardTab, "chkManPointRuleIndep", "门店自行管理会员类别积分规则");
    m_chkSetVipGift = checkBox(cardTab, "ChkSetVipGift", "礼品设置由总部统一维护");
    int row = 2;
    for (QCheckBox* box : {m_chkGoodsPointWork, m_chkCoverCardNum, m_chkPrintCardNum, m_chkUptMemMsgDirect,
                           m_chkPrintMemName, m_chkBranchShareMem, m_chkManPointRuleIndep, m_chkSetVipGift})
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
        m_optSVCardShareType[i] = new QRadioButton(QString::fromUtf8(scopes[i]), cardTab);
        m_optSVCardShareType[i]->setObjectName(QStringLiteral("optSVCardShareType_%1").arg(i));
        cardGrid->addWidget(m_optSVCardShareType[i], row++, 0, 1, 4);
    }
    cardGrid->setRowStretch(row, 1);
    m_tabs->addTab(cardTab, QStringLiteral("会员卡设置"));

    // Tab 1: the stored-value limits.
    auto* valueTab = new QWidget;
    auto* valueGrid = new QGridLayout(valueTab);
    m_fltLeaveAmount = lineEdit(valueTab, "fltLeaveAmount");
    m_fltDailyAmtLimit = lineEdit(valueTab, "fltDailyAmtLimit");
    m_fltMaxFillAmount = lineEdit(valueTab, "fltMaxFillAmount");
    m_fltMothlyAmtLimit = lineEdit(valueTab, "fltMothlyAmtLimit");
    m_fltLimitAmount = lineEdit(valueTab, "fltLimitAmount");
    valueGrid->addWidget(new QLabel(QStringLiteral("储值卡保底金额"), valueTab), 0, 0);
    valueGrid->addWidget(m_fltLeaveAmount, 0, 1);
    valueGrid->addWidget(new QLabel(QStringLiteral("元"), valueTab), 0, 2);
    valueGrid->addWidget(new QLabel(QStringLiteral("每日限额"), valueTab), 1, 0);
    valueGrid->addWidget(m_fltDailyAmtLimit, 1, 1);
    valueGrid->addWidget(new QLabel(QStringLiteral("储值卡最大充值金额"), valueTab), 2, 0);
    valueGrid->addWidget(m_fltMaxFillAmount, 2, 1);
    valueGrid->addWidget(new QLabel(QStringLiteral("每月限额"), valueTab), 3, 0);
    valueGrid->addWidget(m_fltMothlyAmtLimit, 3, 1);
    m_chkAllowFillPlusAmt = checkBox(valueTab, "chkAllowFillPlusAmt", "储值卡充值金额允许为负");
    m_chkPrintCardShowNum = checkBox(valueTab, "chkPrintCardShowNum", "POS消费时储值卡消费打印卡面号码");
    m_chkInputPSWOverLim = checkBox(valueTab, "chkInputPSWOverLim", "储值卡消费金额超过");
    valueGrid->addWidget(m_chkAllowFillPlusAmt, 4, 0, 1, 3);
    valueGrid->addWidget(m_chkPrintCardShowNum, 5, 0, 1, 3);
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

    // Every edit marks the settings as changed, except while the screen is putting values in.
    for (QComboBox* combo : {m_cmbMCType, m_cmbSVCType})
        connect(combo, &QComboBox::currentIndexChanged, this, &frmMemberConfig::markChanged);
    for (QLineEdit* edit : {m_txtCardNumProfix, m_txtCardNumSuffix, m_fltLeaveAmount, m_fltDailyAmtLimit,
                            m_fltMaxFillAmount, m_fltMothlyAmtLimit, m_fltLimitAmount})
        connect(edit, &QLineEdit::textChanged, this, &frmMemberConfig::markChanged);
    for (QCheckBox* box : {m_chkGoodsPointWork, m_chkCoverCardNum, m_chkPrintCardNum, m_chkUptMemMsgDirect,
                           m_chkPrintMemName, m_chkBranchShareMem, m_chkManPointRuleIndep, m_chkSetVipGift,
                           m_chkAllowFillPlusAmt, m_chkPrintCardShowNum})
        connect(box, &QCheckBox::clicked, this, &frmMemberConfig::markChanged);
    for (QRadioButton* option : m_optSVCardShareType)
        connect(option, &QRadioButton::clicked, this, &frmMemberConfig::markChanged);
    // Amounts take the two-decimal format when the operator has typed one; stored values are
    // shown and written back as they are.
    for (QLineEdit* edit :
         {m_fltLeaveAmount, m_fltDailyAmtLimit, m_fltMaxFillAmount, m_fltMothlyAmtLimit, m_fltLimitAmount}) {
        edit->setValidator(new QRegularExpressionValidator(
            QRegularExpression(QStringLiteral("-?[0-9]*\\.?[0-9]{0,2}")), edit));
        connect(edit, &QLineEdit::editingFinished, this, [edit] {
            if (edit->isModified()) edit->setText(amountText(edit->text().toStdString()));
        });
    }
    // The password threshold only switches its amount field on and off.
    connect(m_chkInputPSWOverLim, &QCheckBox::toggled, m_fltLimitAmount, &QWidget::setEnabled);
    connect(m_cmdSave, &QPushButton::clicked, this, &frmMemberConfig::onSave);
    connect(m_cmdExit, &QPushButton::clicked, this, &frmMemberConfig::onExit);
    connect(m_tabs, &QTabWidget::currentChanged, this, &frmMemberConfig::onTabChanged);

    for (QWidget* child : findChildren<QWidget*>())
        child->installEventFilter(this);
    resize(560, 460);
}

void frmMemberConfig::loadForm()
{
    m_loading = true;
    prepareControls();
    m_settings = {};
    m_haveSettings = false;
    try {
        auto config = HostServices::instance().factory().createAs<platform::ConfigMaintain>(
            "OrmexMCardManage.ConfigMaintain");
        m_settings = config->getConfigInfo("VIP");
        m_haveSettings = true;
    } catch (const std::exception& error) {
        HostServices::instance().messages().error(error.what());
    }
    applyBranchRestrictions();
    if (m_haveSettings) showValues();
    m_loading = false;
    m_changed = false;
    m_cmdSave->setEnabled(false);
}

void frmMemberConfig::prepareControls()
{
    for (QComboBox* combo : {m_cmbMCType, m_cmbSVCType}) {
        combo->clear();
        combo->addItems({QStringLiteral("条码卡"), QStringLiteral("磁卡")});
        combo->setCurrentIndex(-1);
    }
    for (QLineEdit* edit : {m_txtCardNumProfix, m_txtCardNumSuffix, m_fltLeaveAmount, m_fltDailyAmtLimit,
                            m_fltMaxFillAmount, m_fltMothlyAmtLimit, m_fltLimitAmount})
        edit->clear();
    for (QCheckBox* box : findChildren<QCheckBox*>())
        box->setChecked(false);
    for (QRadioButton* option : m_optSVCardShareType) {
        option->setAutoExclusive(false);
        option->setChecked(false);
        option->setAutoExclusive(true);
    }
    for (QWidget* widget : findChildren<QWidget*>())
        widget->setEnabled(true);
    m_tabs->setCurrentIndex(0);
    m_chkSetVipGift->setVisible(false);
    m_lblScope->setVisible(false);
    m_scopeLine->setVisible(false);
    for (QRadioButton* option : m_optSVCardShareType)
        option->setVisible(false);
}

void frmMemberConfig::applyBranchRestrictions()
{
    const bool branch = frame::IsBranch();
    const bool shared = frame::IsStoredValueShared();
    m_linkedBranch = branch && shared;
    if (m_linkedBranch) {
        for (QWidget* widget : std::initializer_list<QWidget*>{
                 m_cmbMCType, m_cmbSVCType, m_txtCardNumProfix, m_txtCardNumSuffix, m_fltLeaveAmount,
                 m_fltDailyAmtLimit, m_fltMaxFillAmount, m_fltMothlyAmtLimit, m_chkAllowFillPlusAmt,
                 m_chkInputPSWOverLim, m_fltLimitAmount, m_chkPrintCardShowNum})
            widget->setEnabled(false);
    }
    if (branch || !shared) m_chkSetVipGift->setEnabled(false);
}

void frmMemberConfig::showValues()
{
    auto stored = [this](const char* key) { return m_settings.text(key); };
    auto listIndex = [&](const char* key) { return static_cast<int>(platform::numberOr0(stored(key))); };
    m_cmbMCType->setCurrentIndex(listIndex("MCType"));
    m_cmbSVCType->setCurrentIndex(listIndex("SVCType"));
    m_txtCardNumProfix->setText(q(stored("CardNumProfix")));
    m_txtCardNumSuffix->setText(q(stored("CardNumSuffix")));
    const std::pair<QCheckBox*, const char*> boxes[] = {
        {m_chkGoodsPointWork, "GoodsPointWork"},       {m_chkCoverCardNum, "CoverCardNum"},
        {m_chkPrintCardNum, "PrintCardNum"},           {m_chkUptMemMsgDirect, "UptMemMsgDirect"},
        {m_chkPrintMemName, "PrintMemName"},           {m_chkBranchShareMem, "BranchShareMem"},
        {m_chkManPointRuleIndep, "ManPointRuleIndep"}, {m_chkSetVipGift, "SetVipGiftAtZb"},
        {m_chkAllowFillPlusAmt, "AllowFillPlusAmt"},   {m_chkPrintCardShowNum, "PrintCardShowNum"},
        {m_chkInputPSWOverLim, "InputPSWOverLim"},
    };
    for (const auto& [box, key] : boxes)
        box->setChecked(platform::numberOr0(stored(key)) == 1.0);
    const int scope = listIndex("SVCardShareType");
    if (scope == 0 || scope == 1) m_optSVCardShareType[scope]->setChecked(true);
    m_fltLeaveAmount->setText(q(stored("LeaveAmount")));
    m_fltDailyAmtLimit->setText(q(stored("DailyAmtLimit")));
    m_fltMaxFillAmount->setText(q(stored("MaxFillAmount")));
    m_fltMothlyAmtLimit->setText(q(stored("MothlyAmtLimit")));
    m_fltLimitAmount->setText(q(stored("LimitAmount")));
    m_fltLimitAmount->setEnabled(m_chkInputPSWOverLim->isChecked() && m_chkInputPSWOverLim->isEnabled());
}

void frmMemberConfig::markChanged()
{
    if (m_loading) return;
    m_changed = true;
    m_cmdSave->setEnabled(true);
}

platform::FieldMap frmMemberConfig::currentValues() const
{
    auto flag = [](const QCheckBox* box) { return std::string(box->isChecked() ? "1" : "0"); };
    platform::FieldMap values;
    values.set("MCType", std::to_string(m_cmbMCType->currentIndex()));
    values.set("SVCType", std::to_string(m_cmbSVCType->currentIndex()));
    values.set("CardNumProfix", s(m_txtCardNumProfix->text()));
    values.set("CardNumSuffix", s(m_txtCardNumSuffix->text()));
    values.set("GoodsPointWork", flag(m_chkGoodsPointWork));
    values.set("CoverCardNum", flag(m_chkCoverCardNum));
    values.set("PrintCardNum", flag(m_chkPrintCardNum));
    values.set("UptMemMsgDirect", flag(m_chkUptMemMsgDirect));
    values.set("PrintMemName", flag(m_chkPrintMemName));
    values.set("BranchShareMem", flag(m_chkBranchShareMem));
    values.set("ManPointRuleIndep", flag(m_chkManPointRuleIndep));
    values.set("SetVipGiftAtZb", flag(m_chkSetVipGift));
    values.set("SVCardShareType", m_optSVCardShareType[0]->isChecked() ? "0" : "1");
    values.set("LeaveAmount", s(m_fltLeaveAmount->text()));
    values.set("DailyAmtLimit", s(m_fltDailyAmtLimit->text()));
    values.set("MaxFillAmount", s(m_fltMaxFillAmount->text()));
    values.set("MothlyAmtLimit", s(m_fltMothlyAmtLimit->text()));
    values.set("AllowFillPlusAmt", flag(m_chkAllowFillPlusAmt));
    values.set("PrintCardShowNum", flag(m_chkPrintCardShowNum));
    values.set("InputPSWOverLim", flag(m_chkInputPSWOverLim));
    values.set("LimitAmount", s(m_fltLimitAmount->text()));
    return values;
}

bool frmMemberConfig::validate()
{
    const std::string message =
        checkSpendingLimits(s(m_fltDailyAmtLimit->text()), s(m_fltMothlyAmtLimit->text()));
    if (message.empty()) return true;
    HostServices::instance().messages().message(message);
    m_tabs->setCurrentIndex(1);
    m_fltMothlyAmtLimit->setFocus();
    return false;
}

bool frmMemberConfig::save()
{
    bool saved = false;
    try {
        std::string batch = buildSettingsSaveBatch(currentValues());
        m_settings = {};
        m_haveSettings = false;
        auto config = HostServices::instance().factory().createAs<platform::ConfigMaintain>(
            "OrmexMCardManage.ConfigMaintain");
        saved = config->saveConfigInfo(batch);
        if (saved) m_cmdSave->setEnabled(false);
    } catch (const std::exception& error) {
        HostServices::instance().messages().error(error.what());
        saved = false;
    }
    m_changed = false;
    return saved;
}

void frmMemberConfig::onSave()
{
    if (validate()) save();
}

bool frmMemberConfig::confirmExit(bool fromButton)
{
    if (!m_changed) return true;
    if (!HostServices::instance().messages().question("数据已经修改，是否保存？")) {
        m_changed = false;
        return true;
    }
    const bool ok = validate() && save();
    return ok || !fromButton;
}

void frmMemberConfig::onExit()
{
    if (!confirmExit(true)) return;
    m_closingByButton = true;
    close();
    m_closingByButton = false;
}

void frmMemberConfig::closeEvent(QCloseEvent* event)
{
    if (!m_closingByButton && !confirmExit(false)) {
        event->ignore();
        return;
    }
    m_settings = {};
    m_haveSettings = false;
    event->accept();
    frame::ModuleForm::closeEvent(event);
}

void frmMemberConfig::onTabChanged(int index)
{
    if (m_loading || m_linkedBranch) return;
    if (index == 0)
        m_cmbMCType->setFocus();
    else
        m_fltLeaveAmount->setFocus();
}

void frmMemberConfig::keyPressEvent(QKeyEvent* event)
{
    // Enter moves on like Tab instead of pressing a default button.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        focusNextChild();
        return;
    }
    frame::ModuleForm::keyPressEvent(event);
}

bool frmMemberConfig::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Tab && (key->modifiers() & Qt::ControlModifier)) {
            m_tabs->setCurrentIndex((m_tabs->currentIndex() + 1) % m_tabs->count());
            return true;
        }
        if ((key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) &&
            !qobject_cast<QPushButton*>(watched)) {
            focusNextChild();
            return true;
        }
    }
    return frame::ModuleForm::eventFilter(watched, event);
}

} // namespace ormex::module::settings
