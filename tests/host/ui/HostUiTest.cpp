#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <cstdlib>

#include "host/ui/HostCommandLine.h"
#include "host/ui/LauncherWindow.h"
#include "host/ui/LookupDialog.h"
#include "host/ui/LookupModel.h"
#include "host/ui/LookupWindows.h"
#include "host/ui/ModuleLoader.h"
#include "host/ui/NameList.h"
#include "store/DemoData.h"
#include "store/LargeData.h"
#include "support/TestHost.h"

using namespace ormex;

namespace {

// Saves a picture of a window when ORMEX_SHOTS names a folder.
void shot(QWidget& widget, const char* name)
{
    if (const char* folder = std::getenv("ORMEX_SHOTS")) {
        widget.show();
        widget.grab().save(QString::fromUtf8(folder) + "/" + name);
    }
}

} // namespace

TEST(LookupWindow, SearchesWithinItsFilter)
{
    test::TestHost host;
    host.branch().exec("delete from t_SystemProfile");
    db::seedDemo(host.branch().db(), db::DemoRole::Branch);
    host::LookupWindows windows(host.config().databasePath());
    const std::string filter = "(FCardStatus<>'9' and FCardStatus<>'3' and FDeleted=0)";
    host::LookupDialog dialog(
        "会员卡",
        {{"FCardId", "会员卡号"}, {"FVipName", "姓名"}, {"mobile", "手机"}, {"status_name", "卡状态"}},
        [&](const std::string& text, std::size_t offset, std::size_t count) {
            return db::Database::open(host.config().databasePath())
                ->query(windows.lookupPageSql(50, filter, text, offset, count));
        },
        true, "", nullptr);
    QAbstractItemModel& rows = *dialog.table()->model();
    dialog.model().fetchAll();
    const int all = rows.rowCount();
    EXPECT_EQ(all, host.branch().scalar("select count(*) from T_Pos_VipRecord where " + filter).toInt());
    dialog.searchBox()->setText("13900000001");
    EXPECT_EQ(rows.rowCount(), 2) << "the shared mobile number";
    dialog.searchBox()->setText("8800001");
    EXPECT_GT(rows.rowCount(), 1);
    for (int r = 0; r < rows.rowCount(); ++r)
        EXPECT_NE(rows.index(r, 3).data().toString(), "未使用");
    dialog.table()->selectAll();
    EXPECT_EQ(static_cast<int>(dialog.chosen().size()), rows.rowCount());
    shot(dialog, "lookup-cards.png");

    // The list saves what it shows as a CSV file, a hidden row left out.
    QTemporaryDir folder;
    host.messages().choose(folder.filePath("会员卡.csv").toStdString());
    dialog.table()->setRowHidden(0, true);
    dialog.table()->findChild<QAction*>("exportCsv")->trigger();
    EXPECT_EQ(host.messages().last(), "会员卡.csv") << "the list's title names the file";
    QFile file(folder.filePath("会员卡.csv"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().split('\n');
    EXPECT_EQ(lines.value(0), "\xEF\xBB\xBF会员卡号,姓名,手机,卡状态\r");
    EXPECT_EQ(lines.size(), rows.rowCount() + 1) << "captions, the shown rows, nothing after the last";

    host::LookupDialog single(
        "付款方式", {{"FNumber", "编号"}, {"FName", "付款方式"}},
        [&](const std::string& text, std::size_t offset, std::size_t count) {
            return db::Database::open(host.config().databasePath())
                ->query(windows.lookupPageSql(34, "", text, offset, count));
        },
        false, "", nullptr);
    EXPECT_EQ(single.table()->model()->rowCount(), 4) << "deleted payment methods are not offered";
    single.table()->selectAll();
    EXPECT_EQ(single.chosen().size(), 1u);
}

// Runs `inspect` on the lookup window that `open` shows, once it is on screen; `inspect` closes it.
template <typename Open>
platform::LookupResult whileLookupOpen(Open open, std::function<void(QDialog&)> inspect)
{
    QTimer::singleShot(0, [inspect] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog) {
            ADD_FAILURE() << "no lookup window";
            return;
        }
        inspect(*dialog);
        if (dialog->isVisible()) dialog->reject();
    });
    return open();
}

TEST(LookupWindow, ReadsThePagesTheOperatorScrollsTo)
{
    test::TestHost host;
    db::generateCards(host.branch().db(), 5000);
    host::LookupWindows windows(host.config().databasePath());
    const std::string filter = "(FCardStatus<>'9' and FDeleted=0)";
    const auto cards =
        host.branch().rows("select FCardId from T_Pos_VipRecord where " + filter + " order by FFlowId");
    ASSERT_GT(cards.size(), 3 * host::LookupModel::kPageRows);
    const int page = static_cast<int>(host::LookupModel::kPageRows);

    // An empty search over every card: the window holds one page until the operator scrolls to its
    // last row, then the next; the card chosen there is the one the operator sees in that row.
    int held = 0, afterScroll = 0;
    QString shownAt;
    const auto picked = whileLookupOpen([&] { return windows.showFormReturn(50, false, 2, filter, ""); },
                                        [&](QDialog& dialog) {
                                            auto* table = dialog.findChild<QTableView*>("lookupTable");
                                            held = table->model()->rowCount();
                                            table->scrollToBottom();
                                            afterScroll = table->model()->rowCount();
                                            table->selectRow(page + 7);
                                            shownAt = table->model()->index(page + 7, 0).data().toString();
                                            QTest::keyClick(table, Qt::Key_Return);
                                        });
    EXPECT_EQ(held, page);
    EXPECT_EQ(afterScroll, 2 * page);
    ASSERT_TRUE(picked.returnOk);
    ASSERT_EQ(picked.returnObject.size(), 1u);
    EXPECT_EQ(picked.returnObject[0].text("FCardId"), cards[page + 7]);
    EXPECT_EQ(shownAt.toStdString(), cards[page + 7]);

    // Commands that mean the whole list read all of it: select all in a multiple choice, and
    // Ctrl+End, which lands on the list's last card.
    std::size_t selected = 0;
    int lastRow = -1;
    QString last;
    whileLookupOpen([&] { return windows.showFormReturn(50, true, 2, filter, ""); },
                    [&](QDialog& dialog) {
                        auto* table = dialog.findChild<QTableView*>("lookupTable");
                        QTest::keyClick(table, Qt::Key_A, Qt::ControlModifier);
                        selected = static_cast<std::size_t>(table->selectionModel()->selectedRows().size());
                        QTest::keyClick(table, Qt::Key_End, Qt::ControlModifier);
                        lastRow = table->currentIndex().row();
                        last = table->currentIndex().siblingAtColumn(0).data().toString();
                    });
    EXPECT_EQ(selected, cards.size());
    EXPECT_EQ(lastRow, static_cast<int>(cards.size()) - 1);
    EXPECT_EQ(last.toStdString(), cards.back());

    // A search narrows the pages too: page after page, the list is the one the whole query gives.
    std::vector<std::string> matching, listed;
    const auto whole = db::Database::open(host.config().databasePath())
                           ->query(windows.lookupSql(50, filter, "1"))
                           .toRecordList();
    for (const auto& card : whole)
        matching.push_back(card.text("FCardId"));
    ASSERT_GT(matching.size(), 2 * host::LookupModel::kPageRows);
    whileLookupOpen([&] { return windows.showFormReturn(50, false, 3, filter, "1"); },
                    [&](QDialog& dialog) {
                        auto* table = dialog.findChild<QTableView*>("lookupTable");
                        for (int i = 0; i < 100 && table->model()->canFetchMore({}); ++i)
                            table->scrollToBottom();
                        for (int r = 0; r < table->model()->rowCount(); ++r)
                            listed.push_back(table->model()->index(r, 0).data().toString().toStdString());
                    });
    EXPECT_EQ(listed, matching);

    // Saved as a CSV file, the list is whole, though the window read only its first page.
    QTemporaryDir folder;
    host.messages().choose(folder.filePath("cards.csv").toStdString());
    whileLookupOpen([&] { return windows.showFormReturn(50, false, 3, filter, "1"); },
                    [&](QDialog& dialog) { dialog.findChild<QAction*>("exportCsv")->trigger(); });
    QFile file(folder.filePath("cards.csv"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll().count('\n'), static_cast<qsizetype>(matching.size()) + 1)
        << "captions and every card";
}

TEST(HostCommandLine, DefaultsOptionsAndRefusals)
{
    const auto defaults = host::HostCommandLine::parse({"--data", "/nonexistent"});
    EXPECT_EQ(defaults.config.databasePath(), "/nonexistent/branch.db");
    EXPECT_FALSE(defaults.function.has_value());
    const auto direct = host::HostCommandLine::parse(
        {"--function", "5", "--tab", "2", "--sv-share", "0", "--branch-num", "03"});
    EXPECT_EQ(direct.function, 5);
    EXPECT_EQ(direct.tab, 2);
    EXPECT_EQ(direct.config.svCardShareType, false);
    EXPECT_EQ(direct.config.branchNum, "03");
    EXPECT_EQ(host::HostCommandLine::parse({"--data=/elsewhere", "--user", "cashier"}).config.login,
              "cashier");
    for (const std::vector<std::string>& bad : std::vector<std::vector<std::string>>{
             {"--function", "x"}, {"--user-id"}, {"--is-branch", "maybe"}, {"--colour", "red"}, {"stray"}})
        EXPECT_THROW(host::HostCommandLine::parse(bad), std::runtime_error) << bad[0];
    // Qt's words for what its parser refuses.
    auto refusal = [](const std::vector<std::string>& args) {
        try {
            host::HostCommandLine::parse(args);
        } catch (const std::runtime_error& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_EQ(refusal({"--colour", "red"}), "Unknown option 'colour'.");
    EXPECT_EQ(refusal({"--data"}), "Missing value after '--data'.");
}

TEST(HostCommandLine, HelpAndVersionAnswerWithoutReadingTheSettings)
{
    // A settings file that cannot be read would stop the host, but not its help or version.
    for (const char* asked : {"--help", "-h", "--version"}) {
        const auto line = host::HostCommandLine::parse({"--config", "/nonexistent/host.conf", asked});
        EXPECT_TRUE(line.help || line.version) << asked;
    }
    EXPECT_EQ(host::HostCommandLine::versionText(), "ormex-host " ORMEX_PROJECT_VERSION "\n");
    const std::string help = host::HostCommandLine::helpText();
    EXPECT_EQ(help.find("Usage: ormex-host [options]"), 0u) << help;
    for (const char* option : {"--data <dir>", "--function <n>", "--screenshot <file>", "--version"})
        EXPECT_NE(help.find(option), std::string::npos) << option;
    EXPECT_EQ(help.find("--seal-key"), std::string::npos) << "a key belongs in the settings file";
}

TEST(Launcher, OffersTheFiveFunctionsAndTheHeadquartersStatus)
{
    test::TestHost host({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    host::ModuleLoader loader(ORMEX_MODULE_LIBRARY);
    host::LauncherWindow launcher(host.runtime(), loader);
    EXPECT_EQ(launcher.functionButton(1)->text().section('\n', 0, 0), "会员卡管理");
    EXPECT_EQ(launcher.functionButton(5)->text().section('\n', 0, 0), "储值管理");
    EXPECT_EQ(launcher.findChild<QLabel*>("hqStatus")->text(), "● 总部已连接");
    shot(launcher, "launcher.png");
    launcher.openFunction(6);
    EXPECT_NE(host.messages().last().find("no screen for function number 6"), std::string::npos);
}

TEST(Launcher, ShowsTheChangesWaitingForHeadquartersAndSendsThem)
{
    test::TestHost host({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    host.setHeadquartersSetting("(local)/Gone/sa/pw");
    host.branch().exec("insert into t_HqOutbox (FOrigin,FBranchNo,FBatch,FAttempts,FLastError) values "
                       "('o1','01','insert into t_Log (FUserID) values (7)',1,'总部数据库无法连接')");
    {
        host::ModuleLoader loader(ORMEX_MODULE_LIBRARY);
        host::LauncherWindow launcher(host.runtime(), loader);
        auto* status = launcher.findChild<QLabel*>("replayStatus");
        EXPECT_EQ(status->text(), "待上传总部的变更：1 笔（上次未成功：总部数据库无法连接）");
        shot(launcher, "launcher-waiting.png");
    }
    // Headquarters is back at the next start: what waited is sent and the count says so.
    host.setHeadquartersSetting("(local)/HQ/sa/pw");
    host::ModuleLoader restarted(ORMEX_MODULE_LIBRARY);
    host::LauncherWindow launcher(host.runtime(), restarted);
    EXPECT_EQ(launcher.findChild<QLabel*>("replayStatus")->text(), "所有变更均已上传总部");
    EXPECT_FALSE(launcher.findChild<QPushButton*>("sendToHq")->isEnabled());
    EXPECT_EQ(host.hq().scalar("select count(*) from t_Log").toInt(), 1);
    EXPECT_EQ(host.hq().rows("select FOrigin,FSeq,FBranchNo from t_HqReplay"),
              std::vector<std::string>{"o1|1|01"});
}

TEST(NameList, DropsDownMatchingCardsAndWritesTheChoice)
{
    test::TestHost host;
    host.branch().exec("delete from t_SystemProfile");
    db::seedDemo(host.branch().db(), db::DemoRole::Branch);
    host::NameList list(host.config().databasePath());
    QLineEdit field;
    field.show();
    list.setLookUpClassId(50);
    list.setFilter("(FCardStatus<>'9' and FCardStatus<>'3' and FDeleted=0)");
    list.attach(&field, 18);
    field.setText("13900000001");
    list.showNameListWindow();
    ASSERT_TRUE(list.popup()->isVisible());
    EXPECT_EQ(list.popup()->count(), 2) << "both cards of the shared mobile";
    QKeyEvent down(QEvent::KeyPress, Qt::Key_Down, Qt::NoModifier);
    QApplication::sendEvent(&field, &down);
    QApplication::sendEvent(&field, &down);
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QApplication::sendEvent(&field, &enter);
    EXPECT_TRUE(list.returnOk());
    EXPECT_EQ(field.text(), "88000006");
    EXPECT_FALSE(list.popup()->isVisible());

    field.setText("88000013"); // not yet used: outside the filter
    list.showNameListWindow();
    EXPECT_FALSE(list.popup()->isVisible());

    // The stored-value screen's filter has no FDeleted test: the list leaves deleted cards out itself.
    list.setFilter(" FSavingFlag=1 and (FCardStatus=0) ");
    field.setText("8800004");
    list.showNameListWindow();
    QStringList offered;
    for (int i = 0; i < list.popup()->count(); ++i)
        offered << list.popup()->item(i)->text().left(8);
    EXPECT_TRUE(offered.contains("88000040")) << offered.join(' ').toStdString();
    EXPECT_FALSE(offered.contains("88000041")) << "deleted";
    list.detach();
    host::LookupWindows windows(host.config().databasePath());
    auto lookup = [&](const char* text) {
        return db::Database::open(host.config().databasePath())
            ->query(windows.lookupSql(50, " FSavingFlag=1 and (FCardStatus=0) ", text))
            .recordCount();
    };
    EXPECT_EQ(lookup("88000040"), 1u);
    EXPECT_EQ(lookup("88000041"), 0u) << "deleted";
}
