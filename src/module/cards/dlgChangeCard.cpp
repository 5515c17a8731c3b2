#include "dlgChangeCard.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "CardSearchRules.h"
#include "module/frame/CardRules.h"
#include "module/frame/Gateway.h"
#include "module/frame/LogCategories.h"
#include "module/frame/ScreenKeys.h"
#include "module/widgets/InputField.h"
#include "platform/Text.h"

namespace ormex::module::cards {

dlgChangeCard::dlgChangeCard(QWidget* parent) : QDialog(parent)
{
    setObjectName("dlgChangeCard");
    setWindowTitle(QStringLiteral("换卡"));
    auto* layout = new QVBoxLayout(this);
    m_number = new widgets::InputField("InputTool_0", QStringLiteral("新 卡 号"), this);
    frame::UseCardNumberKeys(*m_number);
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
    connect(m_number->edit(), &QLineEdit::editingFinished, this, &dlgChangeCard::onNumberLeft);
    connect(m_number, &widgets::InputField::returnPressed, this, &dlgChangeCard::onOk);
    connect(m_type, &widgets::InputField::returnPressed, this, &dlgChangeCard::onOk);
    connect(m_cmdOk, &QPushButton::clicked, this, &dlgChangeCard::onOk);
    connect(m_cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

dlgChangeCard::~dlgChangeCard()
{
    // The number field loses the focus while the dialog's widgets go; its "left" handler must not
    // run on a dialog that is half gone.
    m_number->edit()->disconnect(this);
}

std::string dlgChangeCard::cardTypeName(const std::string& number) const
{
    // The type shown is a help while typing; a lookup that fails leaves it empty and the OK
    // action's checks report what is wrong with the card.
    try {
        return frame::CardObject()->getCardTypeName(number);
    } catch (const std::exception& error) {
        qCWarning(lcCards, "reading the type of card %s failed: %s", number.c_str(), error.what());
        return {};
    }
}

void dlgChangeCard::onNumberEdited()
{
    // The type of a number being typed is not known yet: it is looked up when the field is left.
    m_type->clear();
    m_cmdOk->setEnabled(!m_number->text().isEmpty());
}

void dlgChangeCard::onNumberLeft()
{
    const std::string number = m_number->textStd();
    if (!number.empty()) m_type->setText(QString::fromStdString(cardTypeName(number)));
}

void dlgChangeCard::refuse(const std::string& message)
{
    frame::Messages().message(message);
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
            auto maintain = frame::CardObject();
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
            qCWarning(lcCards, "checking new card %s for card %s failed: %s", number.c_str(), m_mcNum.c_str(),
                      error.what());
            frame::Messages().error(error.what());
            m_number->setFocus();

            return;
        }
    }
    if (!frame::Messages().question("确定将会员卡【" + m_mcNum + "】 更换成【" + number + "】?", "信息提示",
                                    platform::MessageIcon::Information))
        return;
    if (!number.empty()) m_mcNum = number;
    if (!m_type->text().isEmpty()) m_mcTypeName = m_type->textStd();
    m_ok = true;
    accept();
}

} // namespace ormex::module::cards
