#include "LauncherWindow.h"

#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "HeldChangesWindow.h"
#include "HostLog.h"
#include "LiabilityReportWindow.h"
#include "ModuleLoader.h"
#include "ReconciliationWindow.h"
#include "platform/HostServices.h"
#include "store/HqOutbox.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

namespace {

struct Function
{
    int id;
    const char* name;
    const char* hint;
};
const Function kFunctions[5] = {{1, "会员卡管理", "挂失、恢复、延期、换卡、作废、设置密码"},
                                {2, "会员设置", "会员卡类型、读卡器、积分与储值参数"},
                                {3, "会员档案审核", "审核分店上传的会员档案"},
                                {4, "积分管理", "积分奖励、冲减、清零与礼品兑换"},
                                {5, "储值管理", "会员卡充值与积分转储值"}};

} // namespace

LauncherWindow::LauncherWindow(const HostRuntime& runtime, ModuleLoader& loader, QWidget* parent)
    : QWidget(parent), m_runtime(runtime), m_loader(loader)
{
    const HostConfig& config = runtime.config();
    setObjectName("launcher");
    setWindowTitle(QStringLiteral("零售管理系统 — 会员卡"));
    auto* layout = new QVBoxLayout(this);
    auto* title = new QLabel(QStringLiteral("会员卡管理中心"), this);
    QFont big = title->font();
    big.setPointSize(big.pointSize() + 6);
    big.setBold(true);
    title->setFont(big);
    layout->addWidget(title);
    const bool linked = config.isBranch.value_or(false) && config.svCardShareType.value_or(false);
    m_linked = linked;
    auto* session =
        new QLabel(QStringLiteral("操作员：%1（%2）    分店：%3    %4")
                       .arg(QString::fromStdString(config.userName))
                       .arg(config.userId)
                       .arg(QString::fromStdString(config.branchNum.value_or("")))
                       .arg(linked ? QStringLiteral("储值卡与总部共享") : QStringLiteral("独立管理")),
                   this);
    session->setObjectName("sessionLabel");
    layout->addWidget(session);

    auto* grid = new QGridLayout;
    for (int i = 0; i < 5; ++i) {
        const Function& f = kFunctions[i];
        auto* button = new QPushButton(
            QStringLiteral("%1\n%2").arg(QString::fromUtf8(f.name), QString::fromUtf8(f.hint)), this);
        button->setObjectName(QStringLiteral("function_%1").arg(f.id));
        button->setMinimumSize(260, 72);
        m_buttons[i] = button;
        grid->addWidget(button, i / 2, i % 2);
        const int id = f.id;
        connect(button, &QPushButton::clicked, this, [this, id] { openFunction(id); });
    }
    auto* report = new QPushButton(QStringLiteral("负债报表\n储值余额与剩余积分，按类别、状态、分店"), this);
    report->setObjectName("openLiabilityReport");
    report->setMinimumSize(260, 72);
    grid->addWidget(report, 2, 1);
    const std::string databasePath = config.databasePath();
    connect(report, &QPushButton::clicked, this, [this, databasePath] {
        if (!m_runtime.allows("hy0011")) return;
        auto* window = new LiabilityReportWindow(databasePath, this);
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->show();
    });
    layout->addLayout(grid);

    auto* line = new QFrame(this);
    line->setFrameShape(QFrame::HLine);
    layout->addWidget(line);
    auto* statusRow = new QHBoxLayout;
    m_hqStatus = new QLabel(this);
    m_hqStatus->setObjectName("hqStatus");
    statusRow->addWidget(m_hqStatus, 1);
    auto* refresh = new QPushButton(QStringLiteral("检测总部连接"), this);
    refresh->setObjectName("refreshHq");
    statusRow->addWidget(refresh);
    layout->addLayout(statusRow);
    connect(refresh, &QPushButton::clicked, this, &LauncherWindow::refreshHeadquartersStatus);

    auto* replayRow = new QHBoxLayout;
    m_replayStatus = new QLabel(this);
    m_replayStatus->setObjectName("replayStatus");
    m_replayStatus->setWordWrap(true);
    replayRow->addWidget(m_replayStatus, 1);
    m_sendNow = new QPushButton(QStringLiteral("立即上传总部"), this);
    m_sendNow->setObjectName("sendToHq");
    replayRow->addWidget(m_sendNow);
    layout->addLayout(replayRow);
    connect(m_sendNow, &QPushButton::clicked, this, [this] {
        std::string lastError;
        try {
            const int waiting = m_loader.sendToHQ(lastError);
            showWaitingChanges(waiting, lastError);
        } catch (const std::exception& error) {
            qCWarning(lcHost, "sending the queue to headquarters failed: %s", error.what());
            platform::HostServices::instance().messages().error(error.what());
        }
    });
    auto* heldRow = new QHBoxLayout;
    heldRow->addStretch(1);
    m_held = new QPushButton(this);
    m_held->setObjectName("openHeldChanges");
    heldRow->addWidget(m_held);
    m_reconcile = new QPushButton(QStringLiteral("与总部对账…"), this);
    m_reconcile->setObjectName("openReconciliation");
    heldRow->addWidget(m_reconcile);
    layout->addLayout(heldRow);
    connect(m_held, &QPushButton::clicked, this, [this] { openHeldChanges(); });
    connect(m_reconcile, &QPushButton::clicked, this, [this] { openReconciliation(); });
    for (QWidget* widget : std::initializer_list<QWidget*>{m_replayStatus, m_sendNow, m_held, m_reconcile})
        widget->setVisible(linked);
    refreshHeadquartersStatus();
}

QPushButton* LauncherWindow::functionButton(int functionId) const
{
    return functionId >= 1 && functionId <= 5 ? m_buttons[functionId - 1] : nullptr;
}

void LauncherWindow::refreshHeadquartersStatus()
{
    bool connected = false;
    try {
        connected = m_loader.connHQ();
    } catch (const std::exception& error) {
        qCWarning(lcHost, "asking whether headquarters is reachable failed: %s", error.what());
        m_hqStatus->setText(QStringLiteral("总部状态未知：%1").arg(QString::fromStdString(error.what())));
        return;
    }
    m_hqStatus->setText(connected ? QStringLiteral("● 总部已连接") : QStringLiteral("○ 总部未连接"));
    m_hqStatus->setStyleSheet(connected ? QStringLiteral("color: #1a7f37;")
                                        : QStringLiteral("color: #b42318;"));
    if (!m_linked) return;
    std::string lastError;
    try {
        const int waiting = connected ? m_loader.sendToHQ(lastError) : m_loader.waitingForHQ(lastError);
        showWaitingChanges(waiting, lastError);
    } catch (const std::exception& error) {
        qCWarning(lcHost, "counting the changes waiting for headquarters failed: %s", error.what());
        m_replayStatus->setText(
            QStringLiteral("待上传总部的变更：未知（%1）").arg(QString::fromStdString(error.what())));
    }
}

HeldChangesWindow* LauncherWindow::openHeldChanges()
{
    auto* window = new HeldChangesWindow(m_runtime, m_loader, this);
    window->setAttribute(Qt::WA_DeleteOnClose);
    connect(window, &QDialog::finished, this, [this] { refreshHeadquartersStatus(); });
    window->show();
    return window;
}

ReconciliationWindow* LauncherWindow::openReconciliation()
{
    auto* window = new ReconciliationWindow(m_runtime, m_loader, this);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->show();
    window->refresh();
    return window;
}

void LauncherWindow::showHeldChanges()
{
    long held = 0;
    try {
        held = static_cast<long>(
            db::queuedChanges(db::sharedDatabase(m_runtime.config().databasePath()), true).size());
    } catch (const std::exception& error) {
        qCWarning(lcHost, "counting the changes headquarters refused failed: %s", error.what());
        held = -1;
    }
    m_held->setText(held < 0 ? QStringLiteral("总部拒收的变更：未知")
                             : QStringLiteral("总部拒收的变更：%1 笔…").arg(held));
    m_held->setStyleSheet(held != 0 ? QStringLiteral("color: #b42318; font-weight: bold;") : QString());
}

void LauncherWindow::showWaitingChanges(int waiting, const std::string& lastError)
{
    showHeldChanges();
    if (waiting == 0) {
        m_replayStatus->setText(QStringLiteral("所有变更均已上传总部"));
        m_replayStatus->setStyleSheet(QStringLiteral("color: #1a7f37;"));
    } else {
        QString text = QStringLiteral("待上传总部的变更：%1 笔").arg(waiting);
        if (!lastError.empty())
            text += QStringLiteral("（上次未成功：%1）").arg(QString::fromStdString(lastError));
        m_replayStatus->setText(text);
        m_replayStatus->setStyleSheet(QStringLiteral("color: #b42318;"));
    }
    m_sendNow->setEnabled(waiting > 0);
}

void LauncherWindow::openFunction(int functionId)
{
    try {
        if (const std::string right = HostRuntime::functionRight(functionId);
            !right.empty() && !m_runtime.allows(right))
            return;
        m_loader.showForm(functionId);
    } catch (const std::exception& error) {
        qCWarning(lcHost, "opening function %d failed: %s", functionId, error.what());

        platform::HostServices::instance().messages().error(error.what());
    }
    refreshHeadquartersStatus();
}

} // namespace ormex::host
