#include "frmMemCardManage.h"

#include <QFont>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QVBoxLayout>

#include "CardSearchRules.h"
#include "dlgCardHistory.h"
#include "module/frame/CardRules.h"
#include "module/frame/Gateway.h"
#include "module/frame/LogCategories.h"
#include "module/frame/ScreenKeys.h"
#include "module/frame/Session.h"
#include "module/widgets/InputField.h"
#include "platform/Text.h"

namespace ormex::module::cards {

namespace {

const char* const kItemCaptions[11] = {"卡    号", "发卡金额：", "卡面编号", "操 作 员",
                                       "剩余积分", "姓    名",   "卡 状 态", "有效期至",
                                       "发卡时间", "卡 余 额",   "卡 类 别"};
const char* const kStatusCaptions[7] = {"挂失", "恢复", "延期", "换卡", nullptr, "作废", "设置密码"};

} // namespace

frmMemCardManage::frmMemCardManage(QWidget* parent) : frame::ModuleForm(parent)
{
    setObjectName("frmMemCardManage");
    setWindowTitle(QStringLiteral("会员卡管理"));
    buildUi();
}

frmMemCardManage::~frmMemCardManage() = default;

void frmMemCardManage::buildUi()
{
    auto* root = new QVBoxLayout(this);
    auto* searchRow = new QHBoxLayout;
    m_itNumber = new widgets::InputField("itNumber", QStringLiteral("会员卡号/手机号*"), this);
    m_itNumber->setLookupButton(true);
    m_itNumber->setToolTip(QStringLiteral("可输入手机号码查询"));
    m_itNumber->edit()->setToolTip(QStringLiteral("可输入手机号码查询"));
    frame::UseCardNumberKeys(*m_itNumber);
    m_cmdSearch = new QPushButton(QStringLiteral("查询(&O)"), this);
    m_cmdSearch->setObjectName("cmdSearch");
    searchRow->addWidget(m_itNumber, 1);
    searchRow->addWidget(m_cmdSearch);
    root->addLayout(searchRow);

    auto* info = new QGridLayout;
    // Two columns of information, in the order an operator reads a card.
    const int order[11] = {0, 2, 5, 10, 6, 7, 9, 4, 3, 8, 1};
    for (int k = 0; k < 11; ++k) {
        const int i = order[k];
        auto* field = new widgets::InputField(QStringLiteral("itItem_%1").arg(i),
                                              QString::fromUtf8(kItemCaptions[i]), this);
        field->setReadOnlyDisplay(true);
        m_itItem[static_cast<std::size_t>(i)] = field;
        info->addWidget(field, k / 2, k % 2);
    }
    root->addLayout(info);
    m_lblSeal = new QLabel(this);
    m_lblSeal->setObjectName("lblSeal");
    m_lblSeal->setWordWrap(true);
    m_lblSeal->setStyleSheet(QStringLiteral("color: #c00000; font-weight: bold;"));
    m_lblSeal->setVisible(false);
    root->addWidget(m_lblSeal);

    auto* buttons = new QHBoxLayout;
    for (int i = 0; i < 7; ++i) {
        if (!kStatusCaptions[i]) continue;
        auto* button = new QPushButton(QString::fromUtf8(kStatusCaptions[i]), this);
        button->setObjectName(QStringLiteral("cmdStatus_%1").arg(i));
        button->setAutoDefault(false);
        m_cmdStatus[static_cast<std::size_t>(i)] = button;
        buttons->addWidget(button);
        connect(button, &QPushButton::clicked, this, [this, i] { onStatusClicked(i); });
    }
    buttons->addStretch();
    m_cmdHistory = new QPushButton(QStringLiteral("历史记录(&H)"), this);
    m_cmdHistory->setObjectName("cmdHistory");
    m_cmdPrint = new QPushButton(QStringLiteral("打印(&P)"), this);
    m_cmdPrint->setObjectName("cmdPrint");
    m_cmdCancel = new QPushButton(QStringLiteral("取消(&C)"), this);
    m_cmdCancel->setObjectName("cmdCancel");
    for (QPushButton* button : {m_cmdSearch, m_cmdHistory, m_cmdPrint, m_cmdCancel})
        button->setAutoDefault(false);
    buttons->addWidget(m_cmdHistory);
    buttons->addWidget(m_cmdPrint);
    buttons->addWidget(m_cmdCancel);
    root->addLayout(buttons);

    connect(m_cmdSearch, &QPushButton::clicked, this, &frmMemCardManage::onSearchClicked);
    connect(m_itNumber, &widgets::InputField::returnPressed, this, &frmMemCardManage::onSearchClicked);
    connect(m_itNumber, &widgets::InputField::lookupRequested, this, &frmMemCardManage::onLookup);
    connect(m_itNumber, &widgets::InputField::focusEntered, this, &frmMemCardManage::attachNameList);
    connect(m_itNumber, &widgets::InputField::keyReleased, this, &frmMemCardManage::attachNameList);
    connect(m_cmdHistory, &QPushButton::clicked, this, [this] { ShowCardHistory(this, m_searchKey); });
    connect(m_cmdPrint, &QPushButton::clicked, this, &frmMemCardManage::onPrint);
    connect(m_cmdCancel, &QPushButton::clicked, this, &QDialog::close);
    resize(640, 360);
}

void frmMemCardManage::loadForm()
{
    m_card.reset();
    m_searchKey.clear();
    m_cardType = {};
    m_itNumber->clear();
    for (auto* field : m_itItem)
        field->clear();
    for (auto* button : m_cmdStatus)
        if (button) button->setEnabled(false);
    m_cmdPrint->setEnabled(false);
    m_cmdHistory->setEnabled(false);
    m_lblSeal->setVisible(false);
    m_itNumber->setFocus();
}

void frmMemCardManage::showSealState()
{
    bool changed = false;
    try {
        changed = !frame::CardObject()->cardsChangedOutside({m_searchKey}).empty();
    } catch (const std::exception& error) {
        // The card is shown without the warning; the saves check again before they write.
        qCWarning(lcCards, "checking the seal of card %s failed: %s", m_searchKey.c_str(), error.what());
    }
    m_lblSeal->setText(
        changed ? QStringLiteral("警告：此卡的余额或积分与系统记录的校验码不符，可能在系统之外被修改。"
                                 "在管理员核查确认之前，不能充值、冲减积分或转储值。")
                : QString());
    m_lblSeal->setVisible(changed);
}

void frmMemCardManage::clearCardInformation()
{
    m_lblSeal->setVisible(false);
    for (auto* field : m_itItem)
        field->clear();
    for (auto* button : m_cmdStatus)
        if (button) button->setEnabled(false);
}

void frmMemCardManage::onSearchClicked()
{
    const std::string text = platform::trimRight(m_itNumber->textStd());
    if (text.empty()) {
        frame::Messages().message("请输入会员卡号!");
        clearCardInformation();
        m_itNumber->setFocus();
        return;
    }
    m_searchKey = text;
    cardSearch();
    if (!m_itNumber->text().isEmpty()) refreshCardTypeFlag();
}

void frmMemCardManage::cardSearch()
{
    m_card.reset();
    if (m_searchKey.empty()) return;
    bool shown = false;
    try {
        auto list = frame::GetVipRecordList(50, cardSearchCondition(m_searchKey));
        if (list && list->empty()) list = frame::GetVipRecordList(50, faceNumberSearchCondition(m_searchKey));
        if (list) {
            const std::string field = m_itNumber->textStd();
            std::string refusal;
            if (list->empty()) {
                refusal = "不存在会员卡【" + field + "】,或该卡已被禁用！";
            } else if (list->size() >= 2) {
                refusal = "存在多个对应的卡面卡号，无法查询！";
            } else {
                m_card = list->front();
                const long status = m_card->value("FCardStatus").toInt();
                if (status == 9)
                    refusal = "会员卡【" + field + "】还未使用！";
                else if (status == 3)
                    refusal = "会员卡【" + field + "】已经作废！";
            }
            if (!refusal.empty()) {
                frame::Messages().message(refusal);
                clearCardInformation();
                m_itNumber->clear();
                m_itNumber->setFocus();
                m_cmdPrint->setEnabled(false);
                m_cmdHistory->setEnabled(false);
            } else {
                showCardInformation();
                m_searchKey = m_card->text("FCardId");
                showSealState();
                m_cardType = m_card->value("FCardType");
                applyStatusButtons(static_cast<int>(m_card->value("FCardStatus").toInt()),
                                   m_card->value("FSavingFlag").toBool());
                m_cmdPrint->setEnabled(true);
                m_cmdHistory->setEnabled(true);
                shown = true;
            }
        }
    } catch (const std::exception& error) {
        // A failing read leaves the screen without a card; the operator can search again.
        qCWarning(lcCards, "searching card %s failed: %s", m_itNumber->textStd().c_str(), error.what());
    }
    if (!shown) {
        m_itemId = 0;
        m_editMode = 1;
        m_card = platform::FieldMap{};
    }
}

void frmMemCardManage::showCardInformation()
{
    const auto texts = cardInformationTexts(*m_card);
    for (std::size_t i = 0; i < texts.size(); ++i)
        if (i != 1) m_itItem[i]->setText(QString::fromStdString(texts[i]));
}

void frmMemCardManage::applyStatusButtons(int status, bool savingCard)
{
    const auto enabled = statusButtons(status, savingCard);
    for (std::size_t i = 0; i < enabled.size(); ++i)
        if (m_cmdStatus[i]) m_cmdStatus[i]->setEnabled(enabled[i]);
}

void frmMemCardManage::refreshCardTypeFlag()
{
    if (!frame::IsHQLinkedBranch()) return;
    try {
        const std::string key = platform::trim(m_itNumber->textStd());
        const platform::Value flag = frame::GetCardTypeColumn(key, "FSavingFlag");
        m_cmdStatus[6]->setEnabled(flag.toBool());
    } catch (const std::exception& error) {
        qCWarning(lcCards, "reading the type of card %s failed: %s", m_itNumber->textStd().c_str(),
                  error.what());
    }
}

void frmMemCardManage::onLookup()
{
    const std::string text = m_itNumber->textStd();
    platform::LookupResult result;
    try {
        result = frame::ShowLookup(50, text, kSearchLookupFilter, text);
    } catch (const std::exception& error) {
        qCWarning(lcCards, "the card lookup for %s failed: %s", text.c_str(), error.what());
        frame::Messages().error(error.what());

        return;
    }
    if (!result.returnOk || result.returnObject.empty()) return;
    m_itNumber->setText(QString::fromStdString(result.returnObject.front().text("FCardId")));
    onSearchClicked();
}

void frmMemCardManage::attachNameList()
{
    m_nameList.attachToField(m_itNumber->edit(), 50, kSearchLookupFilter, true);
}

std::string frmMemCardManage::sheetRowText(int row) const
{
    auto cell = [this](int i) {
        return SheetCell{m_itItem[static_cast<std::size_t>(i)]->caption().toStdString(),
                         m_itItem[static_cast<std::size_t>(i)]->textStd()};
    };
    switch (row) {
    case 2:
        return cardSheetRow({cell(2), cell(5)});
    case 3:
        return cardSheetRow({cell(0), cell(6)});
    case 4:
        return cardSheetRow({cell(7), cell(8)});
    case 5:
        return cardSheetRow({cell(3), cell(9)});
    case 6:
        return cardSheetRow({cell(4)});
    default:
        return {};
    }
}

void frmMemCardManage::printSheet(QPrinter& printer) const
{
    // Six rows by four columns (caption, value, caption, value), widths 1200/3000/1200/3000
    // twips, font size 8, left aligned.
    QPainter painter(&printer);
    QFont font(QStringLiteral("Noto Sans CJK SC"));
    font.setPointSize(8);
    painter.setFont(font);
    const double dotsPerTwip = printer.logicalDpiX() / 1440.0;
    const int widths[4] = {1200, 3000, 1200, 3000};
    const int rowHeight = static_cast<int>(300 * printer.logicalDpiY() / 1440.0);
    int y = rowHeight;
    for (int row = 1; row <= 6; ++row, y += rowHeight) {
        const auto cells = platform::split(sheetRowText(row), '|');
        int x = 0;
        for (int c = 0; c < 4; ++c) {
            const int width = static_cast<int>(widths[c] * dotsPerTwip);
            if (static_cast<std::size_t>(c) < cells.size())
                painter.drawText(QRect(x, y, width, rowHeight), Qt::AlignLeft | Qt::AlignVCenter,
                                 QString::fromStdString(cells[static_cast<std::size_t>(c)]));
            x += width;
        }
    }
}

void frmMemCardManage::onPrint()
{
    QPrinter printer(QPrinter::HighResolution);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() == QDialog::Accepted) printSheet(printer);
}

void frmMemCardManage::unloadForm()
{
    m_task.release();
    m_nameList.detach();
}

} // namespace ormex::module::cards
