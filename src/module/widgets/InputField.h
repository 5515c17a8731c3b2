#pragma once

#include <QWidget>

#include <functional>
#include <string>

class QLabel;
class QLineEdit;
class QToolButton;

namespace ormex::module::widgets {

// An input field as the host draws it: a caption beside a text box, an item identifier kept
// behind the text (the code of the chosen record), and an optional lookup button.
// A key filter, when set, decides per typed character whether it is accepted; pasted text is put
// through the same filter.
class InputField : public QWidget
{
    Q_OBJECT
public:
    InputField(const QString& objectName, const QString& caption, QWidget* parent = nullptr);

    QString caption() const;
    void setCaption(const QString& caption);
    QString text() const;
    void setText(const QString& text);
    std::string textStd() const { return text().toStdString(); }
    QString itemId() const { return m_itemId; }
    void setItemId(const QString& id) { m_itemId = id; }
    void clear();

    void setLookupButton(bool shown);
    void setReadOnlyDisplay(bool readOnly);
    void setPasswordMode(bool on);
    void setMaxLength(int length);
    // Accepts text only when the filter accepts each of its characters (typed or pasted).
    void setKeyFilter(std::function<bool(char32_t)> filter);

    // True when something runs on Enter in this field (returnPressed is connected), so Enter
    // does not just move on to the next control.
    bool handlesEnter() const;

    QLineEdit* edit() const { return m_edit; }
    QToolButton* lookupButton() const { return m_lookup; }

Q_SIGNALS:
    void lookupRequested(); // the lookup button or F7
    void returnPressed();
    void textEdited(const QString& text);
    void focusEntered();
    void keyReleased();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QLabel* m_caption = nullptr;
    QLineEdit* m_edit = nullptr;
    QToolButton* m_lookup = nullptr;
    QString m_itemId;
};

} // namespace ormex::module::widgets
