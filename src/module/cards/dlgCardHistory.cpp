#include "dlgCardHistory.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "module/frame/Gateway.h"
#include "module/frame/Grid.h"
#include "module/frame/GridCsvExport.h"
#include "module/frame/GridLayout.h"
#include "module/frame/GridPrinter.h"
#include "module/frame/LogCategories.h"
#include "module/frame/Session.h"
#include "module/hq/HqLink.h"
#include "module/widgets/CommandButton.h"
#include "module/widgets/InputField.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::cards {

namespace {

frame::GridLayout historyLayout()
{
    // caption, field, cell type, locked, visible, width (twips), save
    return {9,
            "",
            {
                {"日期时间", "FOperDate", 1, 1, 1, 2600, 0},
                {"分店", "FBranchNo", 1, 1, 1, 800, 0},
                {"操作员", "FOperator", 1, 1, 1, 900, 0},
                {"类别", "FKind", 1, 1, 1, 1300, 0},
                {"积分变动", "FPointsChange", 1, 1, 1, 1200, 0},
                {"金额变动", "FAmountChange", 1, 1, 1, 1300, 0},
                {"积分余额", "FPointsAfter", 1, 1, 1, 1200, 0},
                {"储值余额", "FBalanceAfter", 1, 1, 1, 1300, 0},
                {"说明", "FDetail", 1, 1, 1, 2600, 0},
            }};
}

const char* const kNumberFields[] = {"FPointsChange", "FAmountChange", "FPointsAfter", "FBalanceAfter"};

QString q(const std::string& text)
{
    return QString::fromStdString(text);
}

std::string balanceText(const std::optional<platform::Money>& balance)
{
    return balance ? balance->toFixed(2) : std::string("无法解码");
}

// A date typed into a filter field: nothing for an empty field, false for a bad one.
bool readDate(widgets::InputField& field, std::optional<platform::Date>& date, const char* name)
{
    const std::string text = platform::trim(field.textStd());
    date.reset();
    if (text.empty()) return true;
    date = platform::parseIsoDate(text);
    if (date) return true;
    frame::Messages().message(std::string(name) + "格式不正确，请输入yyyy-mm-dd格式的日期！");
    field.edit()->setFocus();
    field.edit()->selectAll();
    return false;
}

} // namespace

dlgCardHistory::dlgCardHistory(QWidget* parent) : QDialog(parent)
{
    setObjectName("dlgCardHistory");
    setWindowTitle(QStringLiteral("会员卡历史"));
    buildUi();
}

void dlgCardHistory::buildUi()
{
    auto* root = new QVBoxLayout(this);
    m_lblCard = new QLabel(this);
    m_lblCard->setObjectName("lblCard");
    m_lblCard->setTextInteractionFlags(Qt::TextSelectableByMouse);
    root->addWidget(m_lblCard);
    m_lblMismatch = new QLabel(this);
    m_lblMismatch->setObjectName("lblMismatch");
    m_lblMismatch->setWordWrap(true);
    m_lblMismatch->setStyleSheet(QStringLiteral("color: #c00000;"));
    m_lblMismatch->hide();
    root->addWidget(m_lblMismatch);

    auto* sourceRow = new QHBoxLayout;
    m_lblSource = new QLabel(this);
    m_lblSource->setObjectName("lblSource");
    m_cmbSource = new QComboBox(this);
    m_cmbSource->setObjectName("cmbSource");
    m_cmbSource->addItems({QStringLiteral("总部数据库"), QStringLiteral("本店数据库")});
    sourceRow->addWidget(m_lblSource, 1);
    sourceRow->addWidget(m_cmbSource);
    root->addLayout(sourceRow);

    auto* filters = new QHBoxLayout;
    m_itFrom = new widgets::InputField("itFrom", QStringLiteral("起始日期"), this);
    m_itTo = new widgets::InputField("itTo", QStringLiteral("截止日期"), this);
    for (auto* field : {m_itFrom, m_itTo}) {
        field->edit()->setPlaceholderText(QStringLiteral("yyyy-mm-dd"));
        field->setMaxLength(10);
        field->setMaximumWidth(260);
        filters->addWidget(field);
    }
    auto* kindLabel = new QLabel(QStringLiteral("类别"), this);
    m_cmbKind = new QComboBox(this);
    m_cmbKind->setObjectName("cmbKind");
    m_cmbKind->addItem(QStringLiteral("全部"));
    for (const std::string& kind : HistoryKinds())
        m_cmbKind->addItem(q(kind));
    kindLabel->setBuddy(m_cmbKind);
    filters->addWidget(kindLabel);
    filters->addWidget(m_cmbKind);
    filters->addStretch(1);
    m_cmdQuery = widgets::CommandButton(this, "cmdQuery", "查询(&S)");
    filters->addWidget(m_cmdQuery);
    root->addLayout(filters);

    m_grid = new frame::Grid(this);
    m_grid->setObjectName("vsHistory");
    frame::ApplyLayout(*m_grid, historyLayout());
    root->addWidget(m_grid, 1);

    auto* bottom = new QHBoxLayout;
    m_lblTotals = new QLabel(this);
    m_lblTotals->setObjectName("lblTotals");
    bottom->addWidget(m_lblTotals, 1);
    m_cmdPrint = widgets::CommandButton(this, "cmdPrint", "打印(&P)");
    m_cmdExport = widgets::CommandButton(this, "cmdExport", "导出CSV…");
    m_cmdCancel = widgets::CommandButton(this, "cmdCancel", "关闭(&C)");
    for (QPushButton* b : {m_cmdPrint, m_cmdExport, m_cmdCancel})
        bottom->addWidget(b);
    root->addLayout(bottom);

    connect(m_cmdQuery, &QPushButton::clicked, this, &dlgCardHistory::applyFilter);
    for (auto* field : {m_itFrom, m_itTo})
        connect(field, &widgets::InputField::returnPressed, this, &dlgCardHistory::applyFilter);
    connect(m_cmbKind, &QComboBox::activated, this, &dlgCardHistory::applyFilter);
    connect(m_cmbSource, &QComboBox::activated, this, &dlgCardHistory::onSourceChanged);
    connect(m_cmdPrint, &QPushButton::clicked, this, &dlgCardHistory::onPrint);
    connect(m_cmdExport, &QPushButton::clicked, this, [this] { frame::ExportGridCsv(*m_grid); });
    connect(m_cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    resize(1060, 560);
}

bool dlgCardHistory::load(const std::string& card)
{
    m_card = platform::trim(card);
    setWindowTitle(q("会员卡历史-" + m_card));
    const bool linked = frame::IsHQLinkedBranch();
    m_cmbSource->setVisible(linked);
    m_source =
        linked && m_cmbSource->currentIndex() == 0 ? HistoryDatabase::Headquarters : HistoryDatabase::Local;
    QString note;
    try {
        if (m_source == HistoryDatabase::Headquarters && !hq::ConnHQ()) {
            m_source = HistoryDatabase::Local;
            note = QStringLiteral("（总部数据库无法连接）");
        }
        m_history = ReadCardHistory(m_card, m_source);
    } catch (const std::exception& error) {
        qCWarning(lcCards, "reading the history of card %s failed: %s", m_card.c_str(), error.what());
        frame::Messages().error(error.what());
        return false;
    }
    m_lblSource->setText(sourceText() + note);
    m_lblCard->setText(q("卡号：" + m_history.card + "　姓名：" + m_history.name + "　卡类别：" +
                         m_history.typeName + "　卡状态：" + m_history.status + "　当前积分：" +
                         platform::formatNumber(m_history.points) + "　当前余额：" +
                         balanceText(m_history.balance)));
    const std::string mismatch = MismatchText(m_history);
    m_lblMismatch->setText(q(mismatch));
    m_lblMismatch->setVisible(!mismatch.empty());
    return applyFilter();
}

QString dlgCardHistory::sourceText() const
{
    return m_source == HistoryDatabase::Headquarters ? QStringLiteral("数据来源：总部数据库（各分店的记录）")
                                                     : QStringLiteral("数据来源：本店数据库");
}

bool dlgCardHistory::applyFilter()
{
    HistoryFilter filter;
    if (!readDate(*m_itFrom, filter.from, "起始日期") || !readDate(*m_itTo, filter.to, "截止日期"))
        return false;
    if (filter.from && filter.to && *filter.from > *filter.to) {
        frame::Messages().message("起始日期不能晚于截止日期！");
        m_itFrom->edit()->setFocus();
        return false;
    }
    if (m_cmbKind->currentIndex() > 0) filter.kind = m_cmbKind->currentText().toStdString();
    showRows(FilterHistory(m_history.entries, filter));
    return true;
}

void dlgCardHistory::showRows(const std::vector<HistoryEntry>& rows)
{
    m_shown = rows;
    m_grid->setRows(0);
    // The signed changes are text columns (a "+" shows), set right like numbers.
    for (const char* field : kNumberFields)
        m_grid->setColumnAlignment(m_grid->columnOf(field), Qt::AlignRight | Qt::AlignVCenter);
    m_grid->setRows(static_cast<int>(rows.size()));
    for (int r = 0; r < static_cast<int>(rows.size()); ++r) {
        const HistoryEntry& e = rows[static_cast<std::size_t>(r)];
        m_grid->setCell(r, "FOperDate", e.when ? e.when->toString() : std::string());
        m_grid->setCell(r, "FBranchNo", e.branch);
        m_grid->setCell(r, "FOperator", e.operatorName);
        m_grid->setCell(r, "FKind", e.kind);
        m_grid->setCell(r, "FPointsChange", SignedPoints(e.points));
        m_grid->setCell(r, "FAmountChange", SignedAmount(e.amount));
        m_grid->setCell(r, "FPointsAfter", platform::formatNumber(e.pointsAfter));
        m_grid->setCell(r, "FBalanceAfter", e.balanceAfter ? e.balanceAfter->toFixed(2) : "");
        m_grid->setCell(r, "FDetail", e.detail);
    }
    m_lblTotals->setText(totalsText());
    m_cmdPrint->setEnabled(!rows.empty());
    m_cmdExport->setEnabled(!rows.empty());
}

QString dlgCardHistory::totalsText() const
{
    const HistoryTotals totals = TotalsOf(m_shown);
    const std::string points = SignedPoints(totals.points);
    const std::string amount = SignedAmount(totals.amount);
    return q("共 " + std::to_string(totals.rows) + " 笔　积分变动合计：" + (points.empty() ? "0" : points) +
             "　金额变动合计：" + (amount.empty() ? "0.00" : amount));
}

void dlgCardHistory::onSourceChanged(int)
{
    load(m_card);
}

void dlgCardHistory::onPrint()
{
    try {
        frame::PrintGridWithDialog(this, *m_grid,
                                   {"会员卡历史 — " + m_history.card + " " + m_history.name,
                                    frame::CurrentUserName(), frame::GetBranchNum()},
                                   totalsText().toStdString());
    } catch (const std::exception& error) {
        qCWarning(lcCards, "printing the history of card %s failed: %s", m_card.c_str(), error.what());

        frame::Messages().error(error.what());
    }
}

void ShowCardHistory(QWidget* parent, const std::string& card)
{
    if (platform::trim(card).empty()) {
        frame::Messages().message("请先查询会员卡！");
        return;
    }
    dlgCardHistory dialog(parent);
    if (dialog.load(card)) dialog.exec();
}

} // namespace ormex::module::cards
