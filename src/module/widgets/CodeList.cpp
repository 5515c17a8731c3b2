#include "CodeList.h"

#include "platform/Text.h"

namespace ormex::module::widgets {

CodeList::CodeList(const QString& objectName, QWidget* parent) : QComboBox(parent)
{
    setObjectName(objectName);
}

void CodeList::setEntries(const std::vector<std::string>& entries, bool empty)
{
    clear();
    if (empty) addItem(QString(), QString());
    for (const std::string& entry : entries)
        addItem(QString::fromStdString(platform::trimRight(entry.substr(0, entry.find('|')))),
                QString::fromStdString(entry));
    setCurrentIndex(-1);
}

std::string CodeList::entry() const
{
    return currentIndex() < 0 ? std::string() : currentData().toString().toStdString();
}

std::string CodeList::code() const
{
    const std::string whole = entry();
    return whole.find('|') == std::string::npos ? std::string() : platform::entryCode(whole);
}

void CodeList::selectCode(const std::string& code)
{
    for (int i = 0; i < count(); ++i) {
        const std::string whole = itemData(i).toString().toStdString();
        if (whole.find('|') != std::string::npos && platform::entryCode(whole) == code) {
            setCurrentIndex(i);
            return;
        }
    }
    setCurrentIndex(-1);
}

} // namespace ormex::module::widgets
