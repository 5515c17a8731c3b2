#pragma once

#include <QDialog>

#include <string>

#include "platform/Value.h"

class QLabel;
class QPushButton;

namespace ormex::module::widgets {
class InputField;
}

namespace ormex::module::cards {

// 换卡: names the new card that replaces the card shown. Accepts only an existing, unused card of
// the same type; the change itself is made by the caller.
class dlgChangeCard : public QDialog
{
public:
    explicit dlgChangeCard(QWidget* parent = nullptr);
    ~dlgChangeCard() override;

    std::string MCNum() const { return m_mcNum; }
    void setMCNum(const std::string& number) { m_mcNum = number; }
    platform::Value MCTypeID() const { return m_mcTypeId; }
    void setMCTypeID(const platform::Value& type) { m_mcTypeId = type; }
    std::string MCTypeName() const { return m_mcTypeName; }
    bool OK() const { return m_ok; }
    long MCSaving() const { return m_mcSaving; }
    void setMCSaving(long value) { m_mcSaving = value; }

    widgets::InputField* numberField() const { return m_number; }
    widgets::InputField* typeField() const { return m_type; }
    QPushButton* okButton() const { return m_cmdOk; }

    // Each edit of the new number: OK is enabled while a number is typed.
    void onNumberEdited();
    // The new number field is left: shows the new card's type.
    void onNumberLeft();
    void onOk();

private:
    std::string cardTypeName(const std::string& number) const;
    void refuse(const std::string& message);

    std::string m_mcNum;
    platform::Value m_mcTypeId;
    std::string m_mcTypeName;
    bool m_ok = false;
    long m_mcSaving = 0;
    widgets::InputField* m_number = nullptr;
    widgets::InputField* m_type = nullptr;
    QPushButton* m_cmdOk = nullptr;
    QPushButton* m_cmdCancel = nullptr;
};

} // namespace ormex::module::cards
