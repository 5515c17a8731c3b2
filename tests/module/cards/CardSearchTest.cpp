// Finding a card on the card screen and what the screen then shows.
#include <gtest/gtest.h>

#include <QFile>
#include <QKeyEvent>
#include <QPrinter>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

#include "CardScreenFixture.h"

using namespace ormex;
using test::CardScreen;

TEST(CardSearch, ByNumberFaceNumberOrMobile)
{
    CardScreen t;
    t.search("C100");
    EXPECT_TRUE(t.host.messages().shown().empty());
    EXPECT_EQ(t.item(0), "C100");
    EXPECT_EQ(t.item(2), "F100");
    EXPECT_EQ(t.item(3), "管理员");
    EXPECT_EQ(t.item(4), "200");
    EXPECT_EQ(t.item(5), "张伟");
    EXPECT_EQ(t.item(6), "正常");
    EXPECT_EQ(t.item(7), "2027-06-30");
    EXPECT_EQ(t.item(8), "2025-01-01");
    EXPECT_EQ(t.item(9), "88.5元");
    EXPECT_EQ(t.item(10), "金卡");
    EXPECT_EQ(t.item(1), "");
    EXPECT_EQ(t.buttons(), (std::vector<bool>{true, false, true, true, true, true}));
    EXPECT_TRUE(t.screen.findChild<QPushButton*>("cmdPrint")->isEnabled());
    test::saveShot(t.screen, "card-screen.png");

    t.search("13800000001");
    EXPECT_EQ(t.screen.searchKey(), "C100") << "the key becomes the card number";
    t.search("F101");
    EXPECT_EQ(t.item(0), "C101") << "the second read finds a face number";
    t.search("C101");
    EXPECT_EQ(t.buttons(), (std::vector<bool>{true, false, true, true, true, false}))
        << "no password without stored value";
    t.search("C103");
    EXPECT_EQ(t.buttons(), (std::vector<bool>{false, true, false, true, false, false}));
}

TEST(CardSearch, RefusalsNameWhatWasTyped)
{
    CardScreen t;
    const std::pair<const char*, const char*> cases[] = {
        {"13800000002", "存在多个对应的卡面卡号，无法查询！"},
        {"ZZZ", "不存在会员卡【ZZZ】,或该卡已被禁用！"},
        {"c105", "会员卡【c105】还未使用！"},
        {"F104", "会员卡【F104】已经作废！"},
        {"", "请输入会员卡号!"},
    };
    for (const auto& [typed, message] : cases) {
        t.search("C100");
        t.host.messages().clear();
        t.search(QString::fromUtf8(typed));
        EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{message}) << typed;
        EXPECT_EQ(t.item(0), "") << typed;
        EXPECT_EQ(t.buttons(), std::vector<bool>(6, false)) << typed;
        EXPECT_TRUE(t.screen.numberField()->text().isEmpty()) << typed;
        if (*typed) {
            EXPECT_FALSE(t.screen.findChild<QPushButton*>("cmdPrint")->isEnabled()) << typed;
        }
    }
    EXPECT_EQ(t.screen.EditMode(), 1);
    EXPECT_EQ(t.screen.ItemID(), 0);
}

TEST(CardSearch, TheFieldTakesDigitsAndLettersOnly)
{
    CardScreen t;
    QLineEdit* edit = t.screen.numberField()->edit();
    edit->setFocus();
    for (const QString& chunk : {QStringLiteral("C1"), QStringLiteral("-"), QStringLiteral(" "),
                                 QStringLiteral("0"), QStringLiteral("中"), QStringLiteral("0")})
        edit->insert(chunk);
    EXPECT_EQ(edit->text(), "C100");
    edit->insert(QStringLiteral("ab-c")); // pasted text the filter refuses
    EXPECT_EQ(edit->text(), "C100");
}

TEST(CardSheet, RowsAndPdf)
{
    CardScreen t;
    t.search("C100");
    EXPECT_EQ(t.screen.sheetRowText(1), "");
    EXPECT_EQ(t.screen.sheetRowText(2), "卡面编号|F100|姓    名|张伟|");
    EXPECT_EQ(t.screen.sheetRowText(3), "卡    号|C100|卡 状 态|正常|");
    EXPECT_EQ(t.screen.sheetRowText(4), "有效期至|2027-06-30|发卡时间|2025-01-01|");
    EXPECT_EQ(t.screen.sheetRowText(5), "操 作 员|管理员|卡 余 额|88.5元|");
    EXPECT_EQ(t.screen.sheetRowText(6), "剩余积分|200|");

    const QString pdf = QString::fromStdString(t.host.branch().folder()) + "/card.pdf";
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(pdf);
    t.screen.printSheet(printer);
    ASSERT_TRUE(QFile::exists(pdf));
    if (const char* folder = std::getenv("ORMEX_SHOTS"))
        QFile::copy(pdf, QString::fromUtf8(folder) + "/card-sheet.pdf");
    const QString pdftotext = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
    if (pdftotext.isEmpty()) GTEST_SKIP() << "pdftotext is not installed";
    QProcess process;
    process.start(pdftotext, {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
    ASSERT_TRUE(process.waitForFinished(10000));
    const QString text = QString::fromUtf8(process.readAllStandardOutput());
    // Rows read left to right: caption, value, caption, value.
    for (const char* row :
         {"姓\\s*名\\s+张伟", "卡\\s*状\\s*态\\s+正常", "有效期.\\s+2027-06-30\\s+发卡时间\\s+2025-01-01",
          "操\\s*作\\s*员\\s+管理员\\s+卡\\s*余\\s*额\\s+88.5元", "剩余积分\\s+200"})
        EXPECT_TRUE(text.contains(QRegularExpression(QString::fromUtf8(row)))) << row << "\n"
                                                                               << text.toStdString();
}

namespace {

// The member-card window of the host, answering with one chosen card.
class ChoosingLookup : public platform::GLView, public platform::MCBaseDataApp
{
public:
    std::string asked;
    platform::LookupResult itemLookup(int, const std::string&, const std::string&,
                                      const platform::FieldMap&) override
    {
        return {};
    }
    platform::LookupResult subMesLookup(int, const std::string&, const std::string&) override { return {}; }
    platform::LookupResult showFormReturn(int classId, bool, int mode, const std::string& filter,
                                          const std::string& search) override
    {
        asked = std::to_string(classId) + " " + std::to_string(mode) + " " + filter + " " + search;
        return {true, {{{"FCardId", "C103"}}}};
    }
};

} // namespace

TEST(CardSearch, F7ChoosesACardFromTheHostList)
{
    CardScreen t;
    auto lookup = std::make_shared<ChoosingLookup>();
    platform::HostServices::instance().factory().registerClass("OrmexMCBaseData.Application", [lookup] {
        return std::static_pointer_cast<platform::GLView>(lookup);
    });
    t.screen.numberField()->setText("C10");
    QKeyEvent f7(QEvent::KeyPress, Qt::Key_F7, Qt::NoModifier);
    QApplication::sendEvent(t.screen.numberField()->edit(), &f7);
    EXPECT_EQ(lookup->asked, "50 3 (FCardStatus<>'9' and FCardStatus<>'3' and FDeleted=0) C10");
    EXPECT_EQ(t.screen.numberField()->text(), "C103");
    EXPECT_EQ(t.item(0), "C103") << "the chosen card is searched at once";
}

TEST(CardSearch, LinkedBranchOffersPasswordsByTheCardTypeOnly)
{
    CardScreen t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    t.search("C100");
    EXPECT_TRUE(t.screen.statusButton(6)->isEnabled());
    t.host.branch().exec("update T_Pos_VipType set FSavingFlag=0 where FTypeId='03'");
    t.search("C100");
    EXPECT_FALSE(t.screen.statusButton(6)->isEnabled()) << "the type no longer holds stored value";
}
