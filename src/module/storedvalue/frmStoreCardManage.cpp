#include "frmStoreCardManage.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include "StoredValueLayouts.h"
#include "module/cards/dlgCardHistory.h"
#include "module/frame/CardRules.h"
#include "module/frame/Gateway.h"
#include "module/frame/Grid.h"
#include "module/frame/GridPrinter.h"
#include "module/frame/LogCategories.h"
#include "module/frame/ScreenKeys.h"
#include "module/frame/Session.h"
#include "module/widgets/CodeList.h"
#include "module/widgets/CommandButton.h"
#include "module/widgets/InputField.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::storedvalue {

namespace {

QString indexed(const char* name, int tab)
{
    return QStringLiteral("%1_%2").arg(QString::fromUtf8(name)).arg(tab);
}

// The panel every tab shows of its card: number, name, face number, identity number, balance.
const char* const kPanel[5][2] = {{"itCardID", "卡    号"},
                                  {"itName", "姓    名"},
                                  {"itFlowId", "卡面卡号"},
                                  {"itSocialId", "证 件 号"},
                                  {"itLeaveAmt", "卡 余 额"}};

} // namespace

frmStoreCardManage::frmStoreCardManage(QWidget* parent) : frame::ModuleForm(parent)
{
    setObjectName("frmStoreCardManage");
    setWindowTitle(QStringLiteral("储值管理"));
    auto* root = new QVBoxLayout(this);
    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName("sstbStoreCard");
    m_tabs->addTab(buildSingleTab(), QStringLiteral("单卡充值"));
    m_tabs->addTab(buildGridTab(BatchTab), QStringLiteral("批量充值"));
    m_tabs->addTab(buildGridTab(PointsTab), QStringLiteral("积分转储值"));
    root->addWidget(m_tabs, 1);
    auto* bottom = new QHBoxLayout;
    bottom->addStretch();
    const auto commands = widgets::AddOkPrintCancel(this, *bottom);
    m_cmdOk = commands.ok;
    m_cmdPrint = commands.print;
    m_cmdCancel = commands.cancel;
    root->addLayout(bottom);
    connect(m_cmdOk, &QPushButton::clicked, this, &frmStoreCardManage::onOk);
    connect(m_cmdPrint, &QPushButton::clicked, this, &frmStoreCardManage::onPrint);
    connect(m_cmdCancel, &QPushButton::clicked, this, &QDialog::close);
    frame::InstallScreenKeys(*this, m_tabs);
    resize(920, 620);
}

frmStoreCardManage::~frmStoreCardManage()
{
    // Fields may lose the focus while the screen's widgets go: no handler runs on a half-gone screen.
    for (auto* box : m_itNo)
        if (box) box->edit()->disconnect(this);
    if (auto* style = field("itBalanceStyle")) style->edit()->disconnect(this);
}

widgets::InputField* frmStoreCardManage::field(const char* name) const
{
    return findChild<widgets::InputField*>(QString::fromUtf8(name));
}

widgets::InputField* frmStoreCardManage::panelField(QWidget* tab, int index, const char* name,
                                                    const char* caption)
{
    auto* f = new widgets::InputField(indexed(name, index), QString::fromUtf8(caption), tab);
    f->setReadOnlyDisplay(true);
    return f;
}

QPushButton* frmStoreCardManage::historyButton(QWidget* tab, int t)
{
    // The history of the card the tab's panel shows.
    auto* button = widgets::CommandButton(tab, indexed("cmdHistory", t), "卡历史");
    connect(button, &QPushButton::clicked, this, [this, t] {
        cards::ShowCardHistory(this, field(indexed("itCardID", t).toUtf8().constData())->textStd());
    });
    return button;
}

QWidget* frmStoreCardManage::buildSingleTab()
{
    auto* tab = new QWidget(this);
    auto* layout = new QVBoxLayout(tab);
    auto* search = new QHBoxLayout;
    m_itNo[SingleTab] = new widgets::InputField(indexed("itNo", 0), QStringLiteral("卡号或手机号*"), tab);
    m_itNo[SingleTab]->setLookupButton(true);
    search->addWidget(m_itNo[SingleTab], 1);
    m_cmdSearch[SingleTab] = widgets::CommandButton(tab, indexed("cmdSearch", 0), "查询(&S)");
    search->addWidget(m_cmdSearch[SingleTab]);
    search->addWidget(historyButton(tab, SingleTab));
    layout->addLayout(search);

    auto* panel = new QGridLayout;
    int cell = 0;
    for (const auto& [name, caption] : kPanel)
        panel->addWidget(
            panelField(tab, 0, name, std::string_view(name) == "itSocialId" ? "身 份 证" : caption), cell / 3,
            cell % 3),
            ++cell;
    for (const auto& [name, caption] :
         {std::pair{"itCardStatus", "卡 状 态"}, std::pair{"itCardAmt", "发卡金额"},
          std::pair{"itOperator", "操 作 员"}, std::pair{"itCharge", "充值金额"},
          std::pair{"itAmt", "实付金额"}, std::pair{"itOperateDate", "充值时间"}}) {
        auto* f = new widgets::InputField(name, QString::fromUtf8(caption), tab);
        f->setReadOnlyDisplay(true);
        panel->addWidget(f, cell / 3, cell % 3);
        ++cell;
    }
    layout->addLayout(panel);

    auto* entry = new QGridLayout;
    // The amounts keep what the operator types; OK reads them as they stand or refuses them.
    for (const auto& [name, caption] :
         {std::pair{"itChargeAmt", "充值金额"}, std::pair{"itActualAmt", "实付金额"},
          std::pair{"itBalanceStyle", "付款方式"}, std::pair{"itMemo", "备        注"}}) {
        auto* f = new widgets::InputField(name, QString::fromUtf8(caption), tab);
        if (std::string_view(name) != "itMemo" && std::string_view(name) != "itBalanceStyle")
            f->edit()->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        entry->addWidget(f, entry->count() / 2, entry->count() % 2);
    }
    field("itBalanceStyle")->setLookupButton(true);
    layout->addLayout(entry);
    layout->addStretch(1);

    connect(m_cmdSearch[SingleTab], &QPushButton::clicked, this, [this] { LoadCard(SingleTab, true); });
    connect(m_itNo[SingleTab], &widgets::InputField::returnPressed, this,
            [this] { LoadCard(SingleTab, true); });
    connect(m_itNo[SingleTab], &widgets::InputField::lookupRequested, this,
            &frmStoreCardManage::onCardLookup);
    connect(field("itChargeAmt")->edit(), &QLineEdit::textChanged, this,
            &frmStoreCardManage::onChargeChanged);
    connect(field("itActualAmt")->edit(), &QLineEdit::textChanged, this,
            [this](const QString& text) { field("itAmt")->setText(text); });
    connect(field("itBalanceStyle")->edit(), &QLineEdit::editingFinished, this,
            &frmStoreCardManage::onPaymentTyped);
    connect(field("itBalanceStyle"), &widgets::InputField::lookupRequested, this, [this] {
        try {
            const platform::LookupResult chosen = frame::ShowLookup(34, "", "", "");
            if (!chosen.returnOk || chosen.returnObject.empty()) return;
            const platform::FieldMap& method = chosen.returnObject.front();
            field("itBalanceStyle")->setText(QString::fromStdString(method.text("FName")));
            field("itBalanceStyle")->setItemId(QString::fromStdString(method.text("FItemID")));
        } catch (const std::exception& error) {
            qCWarning(lcStoredValue, "the payment method lookup failed: %s", error.what());
            frame::Messages().error(error.what());
        }
    });
    return tab;
}

QWidget* frmStoreCardManage::buildGridTab(int t)
{
    const auto i = static_cast<std::size_t>(t);
    auto* tab = new QWidget(this);
    auto* layout = new QVBoxLayout(tab);
    auto* conditions = new QGridLayout;
    m_itNo[i] = new widgets::InputField(indexed("itNo", t), QStringLiteral("卡号或手机号"), tab);
    m_itNo[i]->setLookupButton(true);
    m_itFCardType[i] = new widgets::InputField(indexed("itFCardType", t), QStringLiteral("卡 类 别"), tab);
    m_itFCardType[i]->setLookupButton(true);
    m_itFCardStatus[i] = new widgets::CodeList(indexed("itFCardStatus", t), tab);
    m_itLeaveAmt[i] = new widgets::CodeList(indexed("itLeave_amt", t), tab);
    m_txtLeaveAmt[i] = new QLineEdit(tab);
    m_txtLeaveAmt[i]->setObjectName(indexed("txtLeave_amt", t));
    auto* leave = new QHBoxLayout;
    auto* leaveLabel =
        new QLabel(t == BatchTab ? QStringLiteral("剩余金额") : QStringLiteral("剩余积分"), tab);
    leaveLabel->setMinimumWidth(84);
    leave->addWidget(leaveLabel);
    leave->addWidget(m_itLeaveAmt[i], 1);
    leave->addWidget(m_txtLeaveAmt[i], 1);
    conditions->addWidget(m_itNo[i], 0, 0);
    conditions->addWidget(m_itFCardType[i], 0, 1);
    conditions->addLayout(leave, 1, 0);
    conditions->addWidget(m_itFCardStatus[i], 1, 1);
    auto* commands = new QHBoxLayout;
    commands->addStretch();
    m_cmdSearch[i] = widgets::CommandButton(tab, indexed("cmdSearch", t), "查询(&S)");
    m_cmdBatchAdd[i] = widgets::CommandButton(tab, indexed("cmdBatchAdd", t), "批量填充");
    m_cmdDel[i] = widgets::CommandButton(tab, indexed("cmdDel", t), "删除");
    for (QPushButton* b : {m_cmdSearch[i], m_cmdBatchAdd[i], m_cmdDel[i], historyButton(tab, t)})
        commands->addWidget(b);
    conditions->addLayout(commands, 2, 0, 1, 2);
    layout->addLayout(conditions);

    auto* panel = new QGridLayout;
    int cell = 0;
    for (const auto& [name, caption] : kPanel)
        panel->addWidget(panelField(tab, t, name, caption), cell / 4, cell % 4), ++cell;
    if (t == PointsTab)
        for (const auto& [name, caption] :
             {std::pair{"itMemType", "会员类型"}, std::pair{"itPoint", "当前积分"},
              std::pair{"itBranch", "分    店"}}) {
            auto* f = new widgets::InputField(name, QString::fromUtf8(caption), tab);
            f->setReadOnlyDisplay(true);
            panel->addWidget(f, cell / 4, cell % 4);
            ++cell;
        }
    layout->addLayout(panel);
    m_grids[i] = new frame::Grid(tab);
    m_grids[i]->setObjectName(indexed("vsDetail", t));
    layout->addWidget(m_grids[i], 1);

    connect(m_cmdSearch[i], &QPushButton::clicked, this, [this, t] { LoadCard(t, true); });
    connect(m_itNo[i], &widgets::InputField::returnPressed, this, [this, t] { LoadCard(t, true); });
    connect(m_itNo[i], &widgets::InputField::lookupRequested, this, &frmStoreCardManage::onCardLookup);
    connect(m_itFCardType[i], &widgets::InputField::lookupRequested, this, &frmStoreCardManage::onTypeLookup);
    connect(m_cmdBatchAdd[i], &QPushButton::clicked, this, &frmStoreCardManage::onBatchFill);
    connect(m_cmdDel[i], &QPushButton::clicked, this, &frmStoreCardManage::onDelete);
    connectGrid(t);
    return tab;
}

void frmStoreCardManage::readSession()
{
    m_userId = std::to_string(frame::CurrentUserId());
    m_userName = frame::CurrentUserName();
    m_branchId = std::to_string(frame::GetBranchID());
    m_branchNo = frame::GetBranchNum();
    m_linked = frame::IsHQLinkedBranch();
    m_branchName = frame::GetStockName(m_branchId);
}

void frmStoreCardManage::loadForm()
{
    m_gridEvents = false;
    m_reloading = false;
    m_chosenCards.clear();
    m_cardFilter.clear();
    m_shownCard.clear();
    m_balances.clear();
    try {
        readSession();
    } catch (const std::exception& error) {
        qCWarning(lcStoredValue, "reading the session failed: %s", error.what());
        frame::Messages().error(error.what());
    }
    for (auto* f : findChildren<widgets::InputField*>())
        f->clear();
    for (auto* box : m_txtLeaveAmt)
        if (box) box->clear();
    if (m_layouts.empty()) m_layouts = StoredValueLayouts();
    for (int t : {BatchTab, PointsTab}) {
        const auto i = static_cast<std::size_t>(t);
        // Every field selects its whole text on entry; the lists carry their codes behind "|".
        m_itLeaveAmt[i]->setEntries({">=" + std::string(31, ' ') + "|0", "<" + std::string(32, ' ') + "|1"});
        m_itLeaveAmt[i]->setCurrentIndex(0);
        m_itFCardStatus[i]->setEntries(
            {"正常" + std::string(22, ' ') + "|0", "未使用" + std::string(20, ' ') + "|1"});
        m_itFCardStatus[i]->setCurrentIndex(0);
        m_itFCardStatus[i]->setVisible(false);
        m_itNo[i]->setToolTip(QStringLiteral("可输入手机号码查询"));
        if (const frame::GridLayout* layout = m_layouts.find("Detail" + std::to_string(t)))
            m_columns[i] = frame::ApplyLayout(*m_grids[i], *layout);
    }
    frame::UseCardNumberKeys(*m_itNo[SingleTab]);
    frame::UseCardNumberKeys(*m_itNo[BatchTab]);
    frame::UseCardNumberKeys(*m_itNo[PointsTab]);
    // The payment method of a row is chosen on the grid, by number or from its list (F8).
    m_grids[BatchTab]->setColumnHidden(m_columns[BatchTab].column("FBalanceStyle"), false);
    // Each card's balance stays in view beside what is recharged.
    m_grids[BatchTab]->setColumnHidden(m_columns[BatchTab].column("FResidualAmt"), false);
    LoadFillSettings();
    // A negative amount stays in its cell as typed, also where negative recharges are not allowed:
    // the checks of OK refuse it by name instead of the cell dropping its sign.
    for (const char* f : {"FChargeAmt", "FActualAmt"})
        if (const int column = m_columns[BatchTab].column(f); column >= 0)
            m_grids[BatchTab]->setColumnMinimum(column, -m_grids[BatchTab]->column(column).maximum);
    field("itBranch")->setVisible(false);
    field("itOperator")->setText(QString::fromStdString(m_userName));
    m_tabs->setTabVisible(SingleTab, false);
    m_tabs->setTabText(BatchTab, QStringLiteral("会员卡充值"));
    m_tabs->blockSignals(true);
    m_tabs->setCurrentIndex(BatchTab);
    m_tabs->blockSignals(false);
    // The tab the host asks for, when the operator can see it.
    const long asked = Stabindex().toInt();
    if (asked >= 0 && asked < 3 && m_tabs->isTabVisible(static_cast<int>(asked)))
        selectTab(static_cast<int>(asked));
    m_gridEvents = true;
    m_itNo[static_cast<std::size_t>(m_tabs->currentIndex())]->setFocus();
}

void frmStoreCardManage::selectTab(int index)
{
    m_tabs->blockSignals(true);
    m_tabs->setCurrentIndex(index);
    m_tabs->blockSignals(false);
}

void frmStoreCardManage::LoadFillSettings()
{
    m_maxFillAmount = 0;
    m_allowFillPlusAmt = false;
    try {
        auto rs = frame::ExecQuery("select FKey,FValue from t_systemprofile where FKey = 'MaxFillAmount' or  "
                                   "FKey = 'AllowFillPlusAmt' ");
        for (; !rs.atEnd(); rs.moveNext()) {
            const std::string key = platform::trimRight(rs.field("FKey").toString());
            if (key == "AllowFillPlusAmt")
                m_allowFillPlusAmt = rs.field("FValue").toBool();
            else if (key == "MaxFillAmount")
                m_maxFillAmount = rs.field("FValue").toDouble();
        }
    } catch (const std::exception& error) {
        qCWarning(lcStoredValue, "reading the recharge settings failed: %s", error.what());
        frame::Messages().error(error.what());
    }
}

std::string frmStoreCardManage::tabCaption(int tab) const
{
    return m_tabs->tabText(tab).toStdString();
}

void frmStoreCardManage::unloadForm()
{
    m_nameList.detach();
}

void frmStoreCardManage::onPrint()
{
    const int tab = m_tabs->currentIndex();
    if (tab == SingleTab) return; // one card: its record is on screen
    frame::PrintHeading heading{"储值管理 — " + tabCaption(tab), m_userName, m_branchNo + " " + m_branchName};
    frame::PrintGridWithDialog(this, *m_grids[static_cast<std::size_t>(tab)], heading);
}

} // namespace ormex::module::storedvalue
