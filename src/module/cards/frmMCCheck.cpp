#include "frmMCCheck.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QPushButton>
#include <QVBoxLayout>

#include "ApprovalCondition.h"
#include "module/frame/Gateway.h"
#include "module/frame/Grid.h"
#include "module/frame/GridHelpers.h"
#include "module/frame/GridLayout.h"
#include "module/frame/LogCategories.h"
#include "module/widgets/CodeList.h"
#include "module/widgets/InputField.h"
#include "platform/Clock.h"
#include "platform/Text.h"

namespace ormex::module::cards {

namespace {

// The card list: a check box, then the card's fields; numbers are counts and amounts shown
// without decimals between 0 and 99999999.
const frame::ColumnDescriptor::NumberFormat kCount{0, 0, 99999999};
const frame::GridLayout kCardListLayout{16,
                                        "",
                                        {
                                            {"A", "chk", 10, 0, 1, 540, 0},
                                            {"行号", "index", 13, 0, 1, 780, 0, kCount},
                                            {"分店机构", "FBranchno", 1, 0, 1, 1380, 0},
                                            {"编辑日期", "FModifyDate", 0, 0, 1, 1380, 0},
                                            {"卡类型", "type_name", 1, 0, 1, 1380, 0},
                                            {"会员卡号", "FCardId", 1, 0, 1, 1380, 0},
                                            {"卡面卡号", "FCardFlowno", 1, 0, 1, 1380, 0},
                                            {"姓名", "FVipName", 1, 0, 1, 1380, 0},
                                            {"卡状态", "status_name", 1, 0, 1, 1380, 0},
                                            {"限用次数", "limit_use", 1, 0, 1, 1380, 0},
                                            {"会费", "FVipTax", 13, 0, 1, 1380, 0, kCount},
                                            {"入会日期", "FOperDate", 0, 0, 1, 1380, 0},
                                            {"有效期从", "FVipStartDate", 0, 0, 1, 1380, 0},
                                            {"有效期至", "FVipEndDate", 0, 0, 1, 1380, 0},
                                            {"业务员", "salesman", 1, 0, 1, 1380, 0},
                                            {"流水号", "FFlowId", 13, 0, 0, 1380, 0, kCount},
                                        }};

struct DetailField
{
    const char* caption;
    const char* field;
};
const DetailField kDetails[15] = {
    {"性别：", "FVipSex"},
    {"出生日期：", "birthday"},
    {"婚姻状况：", "marriage"},
    {"手机：", "mobile"},
    {"固定电话：", "FVipTel"},
    {"工作单位：", "company"},
    {"E_Mail：", "FVipEmail"},
    {"证件号：", "FSocialId"},
    {"联系地址：", "FVipAdd"},
    {"邮政编码：", "FVipZip"},
    {"收入水平：", "FSalaryLevel"},
    {"文化程度：", "degree"},
    {"爱好：", "favor"},
    {"备注：", "memo"},
    {"民族：", "nation"},
};

const platform::FieldMap* findCard(const platform::RecordList& list, const std::string& cardId)
{
    for (const auto& item : list)
        if (item.text("FCardId") == cardId) return &item;
    return nullptr;
}

void setTextColour(widgets::InputField* field, bool red)
{
    QPalette palette = field->edit()->palette();
    palette.setColor(QPalette::Text, red ? QColor(255, 0, 0) : QColor(0, 0, 0));
    field->edit()->setPalette(palette);
}

} // namespace

frmMCCheck::frmMCCheck(QWidget* parent) : frame::ModuleForm(parent)
{
    setObjectName("frmMCCheck");
    setWindowTitle(QStringLiteral("会员档案审核"));
    buildUi();
}

void frmMCCheck::buildUi()
{
    auto* root = new QVBoxLayout(this);
    auto* conditions = new QGridLayout;
    m_iptCon[0] = new widgets::InputField("iptCon_0", QStringLiteral("会员卡号："), this);
    m_iptCon[1] = new widgets::InputField("iptCon_1", QStringLiteral("姓名："), this);
    m_iptCon[3] = new widgets::InputField("iptCon_3", QString(), this);
    m_iptCon[5] = new widgets::InputField("iptCon_5", QStringLiteral("分店机构："), this);
    m_iptCon[6] = new widgets::InputField("iptCon_6", QStringLiteral("手机："), this);
    m_operators = new widgets::CodeList("iptCon_2", this);
    m_statuses = new widgets::CodeList("iptCon_4", this);
    auto listRow = [this](const QString& caption, QComboBox* list) {
        auto* row = new QHBoxLayout;
        auto* label = new QLabel(caption, this);
        label->setMinimumWidth(84);
        row->addWidget(label);
        row->addWidget(list, 1);
        return row;
    };
    conditions->addWidget(m_iptCon[0], 0, 0);
    conditions->addWidget(m_iptCon[1], 0, 1);
    conditions->addLayout(listRow(QStringLiteral("编辑日期："), m_operators), 0, 2);
    conditions->addWidget(m_iptCon[3], 0, 3);
    conditions->addLayout(listRow(QStringLiteral("卡状态："), m_statuses), 1, 0);
    conditions->addWidget(m_iptCon[5], 1, 1);
    conditions->addWidget(m_iptCon[6], 1, 2);
    m_cmdQuery = new QPushButton(QStringLiteral("查询"), this);
    m_cmdQuery->setObjectName("cmdQuery");
    conditions->addWidget(m_cmdQuery, 1, 3);
    root->addLayout(conditions);

    m_grid = new frame::Grid(this);
    m_grid->setObjectName("fpCardList");
    root->addWidget(m_grid, 1);

    auto* detail = new QGridLayout;
    for (int i = 0; i < 15; ++i) {
        auto* field = new widgets::InputField(QStringLiteral("iptMember_%1").arg(i),
                                              QString::fromUtf8(kDetails[i].caption), this);
        field->edit()->setReadOnly(true);
        m_iptMember[static_cast<std::size_t>(i)] = field;
        detail->addWidget(field, i / 3, i % 3);
    }
    root->addLayout(detail);

    auto* buttons = new QHBoxLayout;
    m_chkSel = new QCheckBox(QStringLiteral("全选"), this);
    m_chkSel->setObjectName("chkSel");
    buttons->addWidget(m_chkSel);
    buttons->addStretch();
    m_cmdCheck = new QPushButton(QStringLiteral("审核"), this);
    m_cmdCheck->setObjectName("cmdCheck");
    m_cmdCancel = new QPushButton(QStringLiteral("取消(&c)"), this);
    m_cmdCancel->setObjectName("cmdCancel");
    for (QPushButton* button : {m_cmdQuery, m_cmdCheck, m_cmdCancel})
        button->setAutoDefault(false);
    buttons->addWidget(m_cmdCheck);
    buttons->addWidget(m_cmdCancel);
    root->addLayout(buttons);

    connect(m_cmdQuery, &QPushButton::clicked, this, &frmMCCheck::onQuery);
    connect(m_cmdCheck, &QPushButton::clicked, this, &frmMCCheck::onApprove);
    connect(m_cmdCancel, &QPushButton::clicked, this, &QDialog::close);
    connect(m_chkSel, &QCheckBox::clicked, this, &frmMCCheck::onSelectAll);
    connect(m_grid, &frame::Grid::cellClicked, this, [this](int row, int) { onRowClicked(row); });
    // The check-box column keeps its width.
    connect(m_grid->horizontalHeader(), &QHeaderView::sectionResized, this, [this](int section, int, int) {
        const int width = frame::TwipsToPixels(kCardListLayout.FCol[0].width);
        if (section == 0 && m_grid->columnWidth(0) != width) m_grid->setColumnWidth(0, width);
    });
    resize(1000, 640);
}

void frmMCCheck::loadForm()
{
    m_approvalList.reset();
    m_currentList.reset();
    for (auto* field : m_iptCon)
        if (field) field->clear();
    for (auto* field : m_iptMember)
        field->clear();
    m_operators->setEntries(approvalOperatorEntries());
    m_operators->setCurrentIndex(0);
    m_statuses->setEntries(approvalStatusEntries());
    m_iptCon[3]->setText(QString::fromStdString(platform::today().toString()));
    m_chkSel->setChecked(false);
    frame::ApplyLayout(*m_grid, kCardListLayout, {.resetRows = true, .rowNumberColumn = false});
}

std::string frmMCCheck::buildCondition() const
{
    return buildApprovalCondition(conditionInput());
}

ApprovalConditionInput frmMCCheck::conditionInput() const
{
    ApprovalConditionInput input;
    input.cardId = m_iptCon[0]->textStd();
    input.name = m_iptCon[1]->textStd();
    input.operatorEntry = m_operators->entry();
    input.date = m_iptCon[3]->textStd();
    input.statusEntry = m_statuses->entry();
    input.branchNo = m_iptCon[5]->textStd();
    input.mobile = m_iptCon[6]->textStd();
    return input;
}

void frmMCCheck::onQuery()
{
    const ApprovalConditionInput input = conditionInput();
    std::string condition = buildApprovalCondition(input);
    m_approvalList.reset();
    m_currentList.reset();
    // The rows of a new query start unticked, and so does "select all".
    m_chkSel->setChecked(false);
    try {
        auto maintain = frame::ApprovalObject();
        m_approvalList = maintain->getList(condition);
        m_currentList = maintain->getRalCurMCInfo();
    } catch (const std::exception& error) {
        // The database's own words would mean nothing to the operator; they go to the log.
        qCWarning(lcCards, "reading the member records to approve where %s failed: %s", condition.c_str(),
                  error.what());
        m_approvalList.reset();
        m_currentList.reset();
        frame::Messages().message("读取待审核的会员档案失败，请检查查询条件后再试！");
    }
    if (!m_approvalList) {
        m_grid->setRowCount(0);
        return;
    }
    frame::FillGrid(*m_grid, *m_approvalList, m_currentList ? &*m_currentList : nullptr);
}

void frmMCCheck::onRowClicked(int row)
{
    const int cardColumn = m_grid->columnOf(QStringLiteral("FCardId"));
    const std::string cardId = m_grid->cellText(row, cardColumn).toStdString();
    if (!m_currentList || !m_approvalList) return;
    const platform::FieldMap* current = findCard(*m_currentList, cardId);
    const platform::FieldMap* pending = findCard(*m_approvalList, cardId);
    if (!current) return;
    for (int i = 0; i < 15; ++i) {
        const std::string value = pending ? pending->text(kDetails[i].field) : std::string();
        auto* field = m_iptMember[static_cast<std::size_t>(i)];
        field->setText(QString::fromStdString(value));
        setTextColour(field, value != current->text(kDetails[i].field));
    }
}

void frmMCCheck::onSelectAll()
{
    const bool ticked = m_chkSel->isChecked();
    for (int row = 0; row < m_grid->rowCount(); ++row)
        m_grid->setChecked(row, 0, ticked);
}

void frmMCCheck::onApprove()
{
    if (m_grid->rowCount() == 0) return;
    std::vector<int> ticked;
    for (int row = 0; row < m_grid->rowCount(); ++row)
        if (m_grid->isChecked(row, 0)) ticked.push_back(row);
    if (ticked.empty()) {
        frame::Messages().message("您没有选择任何信息");
        return;
    }
    platform::RecordList package = frame::TickedRows(*m_grid);
    try {
        frame::ApprovalObject()->updateMCApproveInfo(package);
    } catch (const std::exception& error) {
        qCWarning(lcCards, "approving %zu member records failed: %s", package.size(), error.what());

        frame::Messages().error(error.what());
        return;
    }
    for (auto it = ticked.rbegin(); it != ticked.rend(); ++it)
        m_grid->removeRow(*it);
}

} // namespace ormex::module::cards
