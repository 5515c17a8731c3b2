#pragma once

#include <QObject>
#include <QPointer>

#include <functional>
#include <string>

#include "platform/Lookups.h"

class QLineEdit;
class QListWidget;

// The list that drops down under a field as the operator types: the entries of its class whose
// key or name starts with the text, within the filter. Up and Down move in it, Enter or a click
// writes the entry's key into the field, Esc closes it, F8 opens it.
namespace ormex::host {

class NameList : public QObject, public platform::GLNameList
{
public:
    explicit NameList(std::string databasePath);
    ~NameList() override;

    void setLookUpClassId(int classId) override { m_classId = classId; }
    void setFilter(const std::string& filter) override { m_filter = filter; }
    void setNoKeyDownKeyUp(bool) override {}
    void setHotTrace(bool) override {}
    void attach(QWidget* field, int rows) override;
    void detach() override;
    void showNameListWindow() override { show(false); }
    bool returnOk() const override { return m_ok; }
    platform::FieldMap returnObject() const override { return m_chosen; }
    void setChosenHandler(std::function<void()> handler) override { m_onChosen = std::move(handler); }

    QListWidget* popup() const { return m_popup; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Shows the entries matching the field; `everything` lists a small class whole when the field
    // is empty.
    void show(bool everything);
    void choose(int row);
    std::string m_path;
    int m_classId = 50;
    int m_rows = 18;
    std::string m_filter;
    QPointer<QLineEdit> m_field;
    QListWidget* m_popup = nullptr;
    platform::RecordList m_records;
    platform::FieldMap m_chosen;
    bool m_ok = false;
    std::function<void()> m_onChosen;
};

} // namespace ormex::host
