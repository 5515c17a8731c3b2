#include "HeldChangesWindow.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "HostLog.h"
#include "ModuleLoader.h"
#include "TableCsvExport.h"
#include "platform/HostServices.h"
#include "platform/Text.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

namespace {

constexpr const char* kRight = "hy0017";

QString q(const std::string& text)
{
    return QString::fromStdString(text);
}

} // namespace

HeldChangesWindow::HeldChangesWindow(const HostRuntime& runtime, ModuleLoader& loader, QWidget* parent)
    : QDialog(parent), m_runtime(runtime), m_loader(loader)
{
    setObjectName("heldChanges");
    setWindowTitle(QStringLiteral("总部拒收的变更"));
    auto* layout = new QVBoxLayout(this);
    auto* note = new QLabel(QStringLiteral("以下变更总部多次拒收，已暂存，不再阻挡后续操作。"
                                           "排除原因后可“重试”，重新上传总部；“放弃”则该变更永不上传总部，"
                                           "总部的卡数据将与分店不一致，请对账后手工处理。"),
                            this);
    note->setWordWrap(true);
    layout->addWidget(note);
    m_summary = new QLabel(this);
    m_summary->setObjectName("summary");
    layout->addWidget(m_summary);

    m_table = new QTableWidget(this);
    m_table->setObjectName("heldList");
    const QStringList headers{QStringLiteral("序号"),      QStringLiteral("日期"),
                              QStringLiteral("操作"),      QStringLiteral("卡号"),
                              QStringLiteral("拒收次数"),  QStringLiteral("搁置日期"),
                              QStringLiteral("总部的错误")};
    m_table->setColumnCount(static_cast<int>(headers.size()));
    m_table->setHorizontalHeaderLabels(headers);
    m_table->verticalHeader()->hide();
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->horizontalHeader()->setStretchLastSection(true);
    AddCsvExportCommand(*m_table, "总部拒收的变更");
    layout->addWidget(m_table, 1);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    m_retry = new QPushButton(QStringLiteral("重试(&R)"), this);
    m_retry->setObjectName("retryHeld");
    m_discard = new QPushButton(QStringLiteral("放弃(&D)"), this);
    m_discard->setObjectName("discardHeld");
    auto* close = new QPushButton(QStringLiteral("关闭"), this);
    for (QPushButton* button : {m_retry, m_discard, close})
        buttons->addWidget(button);
    layout->addLayout(buttons);
    connect(m_retry, &QPushButton::clicked, this, &HeldChangesWindow::retrySelected);
    connect(m_discard, &QPushButton::clicked, this, &HeldChangesWindow::discardSelected);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_table, &QTableWidget::itemSelectionChanged, this, &HeldChangesWindow::enableCommands);
    if (!runtime.holds(kRight)) {
        const QString why = QStringLiteral("需要权限 hy0017 处理总部拒收的变更");
        m_retry->setToolTip(why);
        m_discard->setToolTip(why);
    }
    resize(900, 420);
    reload();
}

void HeldChangesWindow::reload()
{
    try {
        m_held = db::queuedChanges(db::sharedDatabase(m_runtime.config().databasePath()), true);
    } catch (const std::exception& error) {
        qCWarning(lcHost, "reading the changes headquarters refused failed: %s", error.what());
        m_held.clear();
        platform::HostServices::instance().messages().error(error.what());
    }
    m_table->setRowCount(static_cast<int>(m_held.size()));
    for (int r = 0; r < static_cast<int>(m_held.size()); ++r) {
        const db::QueuedChange& c = m_held[static_cast<std::size_t>(r)];
        const QStringList cells{
            QString::number(c.seq),      q(c.date),     q(c.operationName), q(platform::join(c.cards, " ")),
            QString::number(c.refusals), q(c.heldDate), q(c.lastError)};
        for (int column = 0; column < cells.size(); ++column) {
            auto* item = new QTableWidgetItem(cells[column]);
            item->setToolTip(cells[column]);
            m_table->setItem(r, column, item);
        }
    }
    m_table->resizeColumnsToContents();
    m_summary->setText(m_held.empty() ? QStringLiteral("没有被总部拒收的变更。")
                                      : QStringLiteral("共 %1 笔变更被总部拒收。").arg(m_held.size()));
    if (!m_held.empty()) m_table->selectRow(0);
    enableCommands();
}

void HeldChangesWindow::enableCommands()
{
    const bool chosen = selectedChange() > 0 && m_runtime.holds(kRight);
    m_retry->setEnabled(chosen);
    m_discard->setEnabled(chosen);
}

long long HeldChangesWindow::selectedChange() const
{
    const int row = m_table->currentRow();
    if (row < 0 || row >= static_cast<int>(m_held.size()) || !m_table->item(row, 0)->isSelected()) return 0;
    return m_held[static_cast<std::size_t>(row)].seq;
}

db::OutboxOperator HeldChangesWindow::who() const
{
    const HostConfig& config = m_runtime.config();
    return {config.userId, config.userName,
            platform::HostServices::instance().systemInfo().computerName().value_or("")};
}

void HeldChangesWindow::retrySelected()
{
    const long long seq = selectedChange();
    if (seq <= 0 || !m_runtime.allows(kRight)) return;
    auto& messages = platform::HostServices::instance().messages();
    try {
        db::retryHeldChange(db::sharedDatabase(m_runtime.config().databasePath()), seq, who());
        std::string lastError;
        const int waiting = m_loader.sendToHQ(lastError);
        if (waiting == 0)
            messages.message("第" + std::to_string(seq) + "笔变更已上传总部。", "提示",
                             platform::MessageIcon::Information);
        else
            messages.message("第" + std::to_string(seq) + "笔变更已放回待上传队列，尚未被总部接收：" +
                                 lastError,
                             "提示", platform::MessageIcon::Warning);
    } catch (const std::exception& error) {
        qCWarning(lcHost, "retrying held change %lld failed: %s", seq, error.what());
        messages.error(error.what());
    }
    reload();
}

void HeldChangesWindow::discardSelected()
{
    const long long seq = selectedChange();
    if (seq <= 0 || !m_runtime.allows(kRight)) return;
    auto& messages = platform::HostServices::instance().messages();
    if (!messages.question("放弃后第" + std::to_string(seq) +
                           "笔变更永不上传总部，总部的卡数据将与分店不一致，需对账后手工处理。确定放弃吗？"))
        return;
    try {
        db::discardHeldChange(db::sharedDatabase(m_runtime.config().databasePath()), seq, who());
    } catch (const std::exception& error) {
        qCWarning(lcHost, "discarding held change %lld failed: %s", seq, error.what());

        messages.error(error.what());
    }
    reload();
}

} // namespace ormex::host
