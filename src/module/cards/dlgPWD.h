#pragma once

#include <QDialog>

#include <string>

#include "platform/Value.h"

class QLineEdit;
class QPushButton;

namespace ormex::module::cards {

// 修改密码: asks for a card's current password and a new one of six characters (or none). The
// caller stores the new password itself.
class dlgPWD : public QDialog
{
public:
    explicit dlgPWD(QWidget* parent = nullptr);

    void setItemID(const platform::Value& item) { m_itemId = item; }
    std::string Pwd() const { return m_pwd; }
    bool Cancel() const { return m_cancel; }

    // Shows the dialog modally; the result is read from Pwd() and Cancel().
    void run();

    QLineEdit* field(int index) const { return m_txtPWD[index]; }
    void onOk();
    void onCancel();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void done(int result) override;

private:
    platform::Value m_itemId;
    std::string m_pwd;
    bool m_cancel = false;
    QLineEdit* m_txtPWD[3] = {nullptr, nullptr, nullptr};
    QPushButton* m_cmdOk = nullptr;
    QPushButton* m_cmdCancel = nullptr;
};

} // namespace ormex::module::cards
