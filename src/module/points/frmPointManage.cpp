#include "frmPointManage.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QVBoxLayout>

#include "PointLayouts.h"
#include "module/cards/dlgCardHistory.h"
#include "module/frame/CardRules.h"
#include "module/frame/Gateway.h"
#include "module/frame/Grid.h"
#include "module/frame/GridHelpers.h"
#include "module/frame/GridPrinter.h"
#include "module/frame/LogCategories.h"
#include "module/frame/ScreenKeys.h"
#include "module/frame/Session.h"
#include "module/widgets/CodeList.h"
#include "module/widgets/CommandButton.h"
#include "module/widgets/InputField.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::points {

namespace {

QWidget* labelled(QWidget* parent, const char* caption, QWidget* field)
{
    auto* box = new QWidget(parent);
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(0, 0, 0, 0);
    auto* label = new QLabel(QString::fromUtf8(caption), box);
    label->setMinimumWidth(84);
    label->setBuddy(field);
    row->addWidget(label);
    row->addWidget(field, 1);
    return box;
}

const char* const kPanelFields[8][2] = {{"itCardID", "卡    号"},     {"itName", "姓    名"},
                                        {"itMemType", "卡 类 别"},    {"itCardStatus", "卡 状 态"},
                                        {"itSumPoint", "累计积分"},   {"itUsedPoint", "已用积分"},
                                        {"itLeavePoint", "剩余积分"}, {"itEnd", "有效日期"}};

} // namespace

frmPointManage::frmPointManage(QWidget* parent) : frame::ModuleForm(parent)
{
    setObjectName("frmPointManage");
    setWindowTitle(QStringLiteral("积分管理"));
    buildUi();
    frame::InstallScreenKeys(*this, m_tabs);
}

frmPointManage::~frmPointManage()
{
    // The type box may lose the focus while the screen's widgets go: its "left" handler must not
    // run on a screen that is half gone.
    m_type->edit()->disconnect(this);
}

void frmPointManage::buildUi()
{
    auto* root = new QVBoxLayout(this);
    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName("sstbPoint");
    m_tabs->addTab(buildPointsTab(), QStringLiteral("积分增减"));
    m_tabs->addTab(buildGiftSettingsTab(), QStringLiteral("礼品设置"));
    m_tabs->addTab(buildExchangeTab(), QStringLiteral("礼品兑换"));
    root->addWidget(m_tabs, 1);

    auto* bottom = new QHBoxLayout;
    m_progress = new QProgressBar(this);
    m_progress->setObjectName("PrbVip");
    m_progress->setVisible(false);
    bottom->addWidget(m_progress, 1);
    bottom->addStretch();
    const auto commands = widgets::AddOkPrintCancel(this, *bottom);
    m_cmdOk = commands.ok;
    m_cmdPrint = commands.print;
    m_cmdCancel = commands.cancel;
    root->addLayout(bottom);

    connect(m_cmdOk, &QPushButton::clicked, this, &frmPointManage::onOk);
    connect(m_cmdPrint, &QPushButton::clicked, this, &frmPointManage::onPrint);
    connect(m_cmdCancel, &QPushButton::clicked, this, &QDialog::close);
    for (int t = 0; t < 3; ++t) {
        connect(m_cmdSearch[static_cast<std::size_t>(t)], &QPushButton::clicked, this,
                [this, t] { onQuery(t); });
        connect(m_cmdAdd[static_cast<std::size_t>(t)], &QPushButton::clicked, this, [this, t] { onAdd(t); });
        connect(m_cmdDel[static_cast<std::size_t>(t)], &QPushButton::clicked, this,
                [this, t] { onDelete(t); });
        connect(m_cmdBatchAdd[static_cast<std::size_t>(t)], &QPushButton::clicked, this,
                [this, t] { onBatchFill(t); });
        connectGrid(t);
    }
    resize(900, 600);
}

void frmPointManage::addCommands(QWidget* tab, QHBoxLayout* row, int index, const char* addCaption)
{
    const auto t = static_cast<std::size_t>(index);
    m_cmdSearch[t] = widgets::CommandButton(tab, QStringLiteral("cmdSearch_%1").arg(index), "查询(&S)");
    m_cmdAdd[t] = widgets::CommandButton(tab, QStringLiteral("cmdAdd_%1").arg(index), addCaption);
    m_cmdDel[t] = widgets::CommandButton(tab, QStringLiteral("cmdDel_%1").arg(index), "删除");
    m_cmdBatchAdd[t] = widgets::CommandButton(tab, QStringLiteral("cmdBatchAdd_%1").arg(index), "批量填充");
    for (QPushButton* b : {m_cmdSearch[t], m_cmdAdd[t], m_cmdDel[t], m_cmdBatchAdd[t]})
        row->addWidget(b);
}

QWidget* frmPointManage::buildPointsTab()
{
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    auto* conditions = new QGridLayout;
    m_itNo[0] = new widgets::InputField("itNo_0", QStringLiteral("会员卡号/手机号"), tab);
    m_itNo[0]->setLookupButton(true);
    frame::UseCardNumberKeys(*m_itNo[0]);
    m_status = new widgets::CodeList("itCondition_0", tab);
    m_type = new widgets::InputField("itCondition_1", QStringLiteral("卡    类    别 "), tab);
    m_type->setLookupButton(true);
    m_comparison = new widgets::CodeList("itCondition_2", tab);
    m_txtLeavePoint = new QLineEdit(tab);
    m_txtLeavePoint->setObjectName("txtLeavePoint");
    auto* leave = new QWidget(tab);
    auto* leaveRow = new QHBoxLayout(leave);
    leaveRow->setContentsMargins(0, 0, 0, 0);
    leaveRow->addWidget(labelled(tab, "剩余积分", m_comparison), 1);
    leaveRow->addWidget(m_txtLeavePoint, 1);
    conditions->addWidget(m_itNo[0], 0, 0);
    conditions->addWidget(labelled(tab, "卡 状 态", m_status), 0, 1);
    conditions->addWidget(m_type, 1, 0);
    conditions->addWidget(leave, 1, 1);
    layout->addLayout(conditions);

    auto* commands = new QHBoxLayout;
    const char* options[3] = {"积分奖励", "积分冲减", "积分清零"};
    for (int i = 0; i < 3; ++i) {
        auto* option = new QRadioButton(QString::fromUtf8(options[i]), tab);
        option->setObjectName(QStringLiteral("optPoint_%1").arg(i));
        m_optPoint[static_cast<std::size_t>(i)] = option;
        commands->addWidget(option);
        connect(option, &QRadioButton::clicked, this, [this, i] { onOption(i); });
    }
    commands->addStretch();
    addCommands(tab, commands, 0, "增加");
    layout->addLayout(commands);
    m_grids[0] = new frame::Grid(tab);
    m_grids[0]->setObjectName("vsDetail_0");
    layout->addWidget(m_grids[0], 1);

    connect(m_itNo[0], &widgets::InputField::lookupRequested, this, &frmPointManage::onCardLookup);
    connect(m_type, &widgets::InputField::lookupRequested, this, &frmPointManage::onTypeLookup);
    connect(m_type->edit(), &QLineEdit::editingFinished, this, [this] {
        // A typed type number or name is looked up when the box is left.
        const std::string typed = platform::trim(m_type->textStd());
        if (typed.empty()) {
            m_type->clear();
            return;
        }
        try {
            const auto rs = frame::ExecQuery(
                "select FTypeId,type_name from T_Pos_VipType where FTypeId=" + platform::quoted(typed) +
                " or type_name=" + platform::quoted(typed));
            if (rs.atEnd()) {
                m_type->clear();
                return;
            }
            m_type->setText(QString::fromStdString(rs.field("type_name").toString()));
            m_type->setItemId(QString::fromStdString(rs.field("FTypeId").toString()));
        } catch (const std::exception& error) {
            qCWarning(lcPoints, "looking up card type %s failed: %s", typed.c_str(), error.what());
            m_type->clear();
        }
    });
    return tab;
}

QWidget* frmPointManage::buildGiftSettingsTab()
{
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    auto* commands = new QHBoxLayout;
    m_itNo[1] = new widgets::InputField("itNo_1", QStringLiteral("礼品编号"), tab);
    commands->addWidget(m_itNo[1], 1);
    addCommands(tab, commands, 1, "新增");
    layout->addLayout(commands);
    m_grids[1] = new frame::Grid(tab);
    m_grids[1]->setObjectName("vsDetail_1");
    layout->addWidget(m_grids[1], 1);
    return tab;
}

QWidget* frmPointManage::buildExchangeTab()
{
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    auto* commands = new QHBoxLayout;
    m_itNo[2] = new widgets::InputField("itNo_2", QStringLiteral("会员卡号/手机号"), tab);
    frame::UseCardNumberKeys(*m_itNo[2]);
    commands->addWidget(m_itNo[2], 1);
    addCommands(tab, commands, 2, "增加");
    auto* history = widgets::CommandButton(tab, "cmdHistory_2", "卡历史");
    commands->addWidget(history);
    connect(history, &QPushButton::clicked, this,
            [this] { cards::ShowCardHistory(this, m_panel[0]->textStd()); });
    layout->addLayout(commands);
    auto* panel = new QGridLayout;
    for (int i = 0; i < 8; ++i) {
        auto* field = new widgets::InputField(kPanelFields[i][0], QString::fromUtf8(kPanelFields[i][1]), tab);
        field->setReadOnlyDisplay(true);
        m_panel[static_cast<std::size_t>(i)] = field;
        panel->addWidget(field, i / 4, i % 4);
    }
    layout->addLayout(panel);
    m_grids[2] = new frame::Grid(tab);
    m_grids[2]->setObjectName("vsDetail_2");
    layout->addWidget(m_grids[2], 1);
    return tab;
}

void frmPointManage::connectGrid(int tab)
{
    frame::Grid* grid = m_grids[static_cast<std::size_t>(tab)];
    // An operator's edit of a grid marks its tab as changed and fills what the edit names.
    connect(grid, &frame::Grid::operatorEdited, this, [this, tab](int row, int column) {
        if (tab == ExchangeTab) {
            onExchangeEdited(row, column);
            return;
        }
        m_changed[static_cast<std::size_t>(tab)] = true;
        if (tab == GiftSettingsTab) onGiftEdited(row, column);
    });
    connect(grid, &frame::Grid::lookupRequested, this,
            [this, tab](int row, int column, int key) { onGridLookup(tab, row, column, key); });
    if (tab == GiftSettingsTab)
        connect(grid, &frame::Grid::currentCellChanged, this, [this](int row) {
            const bool readOnly = m_grids[GiftSettingsTab]->property("ormexReadOnly").toBool();
            m_cmdDel[GiftSettingsTab]->setEnabled(!readOnly && row >= 0 &&
                                                  row < m_grids[GiftSettingsTab]->rowCount());
        });
}

void frmPointManage::readSession()
{
    m_userId = std::to_string(frame::CurrentUserId());
    m_branchId = std::to_string(frame::GetBranchID());
    m_branchNo = frame::GetBranchNum();
    m_linked = frame::IsHQLinkedBranch();
}

void frmPointManage::loadForm()
{
    m_changed = {};
    m_messageShown = false;
    m_lastCondition.clear();
    m_memberExtra.clear();
    try {
        readSession();
    } catch (const std::exception& error) {
        qCWarning(lcPoints, "reading the session failed: %s", error.what());
        frame::Messages().error(error.what());
    }
    for (auto* box : m_itNo)
        box->clear();
    for (auto* field : m_panel)
        field->clear();
    m_type->clear();
    m_txtLeavePoint->clear();
    m_status->setEntries({platform::padEntry("正常", 30, "0"), platform::padEntry("未使用", 30, "9")}, true);
    m_comparison->setEntries({platform::padEntry(">=", 30, "0"), platform::padEntry("<", 30, "1")});
    m_comparison->setCurrentIndex(0);
    m_optPoint[Reward]->setChecked(true);
    m_optPoint[Clearing]->setVisible(true);

    if (m_layouts.empty()) m_layouts = PointLayouts();
    for (int t = 0; t < 3; ++t)
        if (const frame::GridLayout* layout = m_layouts.find("Detail" + std::to_string(t)))
            m_columns[static_cast<std::size_t>(t)] = frame::ApplyLayout(
                *m_grids[static_cast<std::size_t>(t)], *layout, {.resetRows = t != GiftSettingsTab});
    m_grids[GiftSettingsTab]->setRowCount(0);
    m_grids[GiftSettingsTab]->setProperty("ormexReadOnly", false);
    showExchangeCard(nullptr);
    // The selection mark of the gifts on offer is ticked; quantities and attributes open with it.
    m_grids[ExchangeTab]->setColumnType(m_columns[ExchangeTab].column("Sel"), frame::CellType::CheckBox);
    applyBranchRule();
    SetControlEnable(true);
    const long tab = Stabindex().toInt();
    m_tabs->setCurrentIndex(tab >= 0 && tab < 3 ? static_cast<int>(tab) : 0);
    m_itNo[static_cast<std::size_t>(m_tabs->currentIndex())]->setFocus();
}

void frmPointManage::applyBranchRule()
{
    if (!m_linked) return;
    // A branch linked to headquarters does not clear points, and keeps the gifts headquarters
    // maintains for it.
    m_optPoint[Clearing]->setVisible(false);
    try {
        if (platform::numberOr0(frame::GetProfileValue("VIP", "SetVipGiftAtZb")) != 0) {
            for (QPushButton* b : {m_cmdAdd[1], m_cmdDel[1], m_cmdBatchAdd[1]})
                b->setEnabled(false);
            EnabelVsDetailCol(GiftSettingsTab, false);
            m_grids[GiftSettingsTab]->setProperty("ormexReadOnly", true);
        }
    } catch (const std::exception& error) {
        qCWarning(lcPoints, "reading the gift setting SetVipGiftAtZb failed: %s", error.what());

        frame::Messages().error(error.what());
    }
}

void frmPointManage::EnabelVsDetailCol(int tab, bool enable)
{
    if (tab != GiftSettingsTab) return;
    for (const char* field :
         {"FNumber", "FItemNum", "type_name", "FVipNum", "FBeginDate", "FEndDate", "FStockName"})
        m_grids[GiftSettingsTab]->setColumnLocked(m_columns[GiftSettingsTab].column(field), !enable);
}

void frmPointManage::SetControlEnable(bool enable)
{
    const bool giftsReadOnly = m_grids[GiftSettingsTab]->property("ormexReadOnly").toBool();
    for (int t = 0; t < 3; ++t) {
        const bool giftCommand = t == GiftSettingsTab && giftsReadOnly;
        // The gifts on offer are the catalogue's: none is added, and each is ticked on its own.
        const bool offer = t == ExchangeTab;
        m_cmdAdd[static_cast<std::size_t>(t)]->setEnabled(enable && !giftCommand && !offer);
        const frame::Grid& grid = *m_grids[static_cast<std::size_t>(t)];
        const bool noRow = grid.currentRow() < 0 || grid.currentRow() >= grid.rowCount();
        m_cmdDel[static_cast<std::size_t>(t)]->setEnabled(enable && !giftCommand && !offer &&
                                                          !(t == GiftSettingsTab && noRow));
        m_cmdBatchAdd[static_cast<std::size_t>(t)]->setEnabled(enable && !giftCommand && !offer &&
                                                               !(t == PointsTab && operation() == Clearing));
        m_cmdSearch[static_cast<std::size_t>(t)]->setEnabled(enable);
    }
    for (QWidget* w : std::initializer_list<QWidget*>{m_cmdOk, m_cmdCancel, m_tabs->tabBar(), m_itNo[0],
                                                      m_status, m_type, m_comparison, m_txtLeavePoint})
        w->setEnabled(enable);
    for (QRadioButton* option : m_optPoint)
        option->setEnabled(enable);
    // An edit during the commit would be lost with the changed flag the commit clears.
    for (frame::Grid* grid : m_grids)
        grid->setEnabled(enable);
    m_progress->setVisible(!enable);
}

std::string frmPointManage::tabCaption(int tab) const
{
    return m_tabs->tabText(tab).toStdString();
}

std::string frmPointManage::optionCaption(Operation op) const
{
    return m_optPoint[static_cast<std::size_t>(op)]->text().toStdString();
}

frmPointManage::Operation frmPointManage::operation() const
{
    if (m_optPoint[Deduction]->isChecked()) return Deduction;
    if (m_optPoint[Reward]->isChecked()) return Reward;
    return Clearing;
}

bool frmPointManage::queryUnload()
{
    const bool changed = m_changed[0] || m_changed[1] || m_changed[2];
    if (!changed) return true;
    if (!frame::Messages().question("数据已经改变，是否保存？")) {
        m_changed = {};
        return true;
    }
    onOk();
    // A commit that did not happen (refused, not confirmed) keeps the screen open with the work.
    return !m_changed[static_cast<std::size_t>(m_tabs->currentIndex())];
}

void frmPointManage::unloadForm()
{
    m_task.release();
    m_nameList.detach();
}

void frmPointManage::onPrint()
{
    const int tab = m_tabs->currentIndex();
    std::string title = "积分管理 — " + (tab == PointsTab ? optionCaption(operation()) : tabCaption(tab));
    if (tab == ExchangeTab && !m_panel[0]->text().isEmpty())
        title += "（" + m_panel[0]->textStd() + " " + m_panel[1]->textStd() + "）";
    frame::PrintHeading heading{title, frame::CurrentUserName(), m_branchNo};
    frame::PrintGridWithDialog(this, *m_grids[static_cast<std::size_t>(tab)], heading);
}

frame::SavePackage frmPointManage::savePackage(int tab) const
{
    return frame::BuildSavePackage(*m_grids[static_cast<std::size_t>(tab)], tab == GiftSettingsTab ? 1 : 2,
                                   tab == GiftSettingsTab ? 1 : 0);
}

} // namespace ormex::module::points
