#include "dlgChangeCard.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "CardSearchRules.h"
#include "module/frame/CardRules.h"
#include "module/widgets/InputField.h"
#include "platform/HostServices.h"
#include "platform/Text.h"

namespace ormex::module::cards {

namespace {
platform::MessageService& messages()
{
    return platform::HostServices::instance().messages();
}

std::shared_ptr<platform::MCMaintain> cardMaintain()
{
    return platform::HostServices::instance().factory().createAs<platform::MCMaintain>(
        "OrmexMCardManage.MCMaintain");
}
} // namespace

dlgChangeCard::dlgChangeCard(QWidget* parent) : QDialog(parent)
{
    setObjectName("dlgChangeCard");
    setWindowTitle(QStringLiteral("换卡"));
    auto* layout = new QVBoxLayout(this);
    m_number = new widgets::InputField("InputTool_0", QStringLiteral("新 卡 号"), this);
    m_number->setKeyFilter(&isCardNumberKey);
    m_type = new widgets::InputField("InputTool_1", QStringLiteral("新卡类别"), this);
    m_type->edit()->setReadOnly(true);
    layout->addWidget(m_number);
    layout->addWidget(m_type);
    auto* hint = new QLabel(QStringLiteral("提示：新卡与旧卡类别要相同且未使用"), this);
    hint->setObjectName("lblHint");
    layout->addWidget(hint);
    m_cmdOk = new QPushButton(QStringLiteral("确定(&O)"), this);
    m_cmdOk->setObjectName("cmdOk");
    m_cmdCancel = new QPushButton(QStringLiteral("取消(&C)"), this);
    m_cmdCancel->setObjectName("cmdCancel");
    for (QPushButton* button : {m_cmdOk, m_cmdCancel})
        button->setAutoDefault(false);
    m_cmdOk->setEnabled(false);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_cmdOk);
    buttons->addWidget(m_cmdCancel);
    layout->addLayout(buttons);

    connect(m_number->edit(), &QLineEdit::textChanged, this, &dlgChangeCard::onNumberEdited);
    connect(m_number, &widgets::InputField::returnPressed, this, &dlgChangeCard::onOk);
    connect(m_type, &widgets::InputField::returnPressed, this, &dlgChangeCard::onOk);
    connect(m_cmdOk, &QPushButton::clicked, this, &dlgChangeCard::onOk);
    connect(m_cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

std::string dlgChangeCard::cardTypeName(const std::string& number) const
{
    try {
        return cardMaintain()->getCardTypeName(number);
    } catch (const std::exception& error) {
        messages().error(error.what());
        return {};
    }
}

void dlgChangeCard::onNumberEdited()
{
    const std::string number = m_number->textStd();
    if (number.empty()) {
        m_type->clear();
        m_cmdOk->setEnabled(false);
        return;
    }
    m_cmdOk->setEnabled(true);
    m_type->setText(QString::fromStdString(cardTypeName(number)));
}

void dlgChangeCard::refuse(const std::string& message)
{
    messages().message(message);
    m_number->setFocus();
}

void dlgChangeCard::onOk()
{
    const std::string number = platform::trim(m_number->textStd());
    if (!m_number->text().isEmpty()) {
        if (!frame::CheckCardNumber(m_number->textStd(), m_number, true)) return;
        if (number == m_mcNum) {
            refuse("不允许对自己进行换卡操作！");
            return;
        }
        if (m_type->text().isEmpty()) m_type->setText(QString::fromStdString(cardTypeName(number)));
        try {
            auto maintain = cardMaintain();
            if (!maintain->checkCardExist(number)) {
                refuse("新卡号【" + number + "】不存在!");
                return;
            }
            if (!maintain->checkCardExist(number, "FCardStatus=9")) {
                refuse("新卡号【" + number + "】不是未使用的卡!");
                return;
            }
            platform::Value type = m_mcTypeId;
            if (!maintain->checkCardTypeEqual(number, type)) {
                refuse("新卡号必须与原卡号为同一类别！");
                return;
            }
        } catch (const std::exception& error) {
            messages().error(error.what());
            m_number->setFocus();
            return;
        }
    }
    if (!messages().question("确定将会员卡【" + m_mcNum + "】 更换成【" + number + "】?", "信息提示",
                             platform::MessageIcon::Information))
        return;
    if (!number.empty()) m_mcNum = number;
    if (!m_type->text().isEmpty()) m_mcTypeName = m_type->textStd();
    m_ok = true;
    accept();
}

} // namespace ormex::module::cards
