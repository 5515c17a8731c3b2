#pragma once

#include <QDialog>

#include "platform/Value.h"

class QCloseEvent;

// A working screen of the component: loaded afresh on every showing, shown modally.
//
// However a screen goes away (its cancel button, Esc, the window's close button, the host
// closing it), it first asks queryUnload(), which may keep it open, and then runs unloadForm(),
// which releases what the screen holds (its task lock, loaded data).
namespace ormex::module::frame {

class ModuleForm : public QDialog
{
public:
    using QDialog::QDialog;

    // Reads the session and the database again and resets the controls.
    virtual void loadForm() = 0;
    // The tab to open on (screens with tabs).
    void setStabindex(const platform::Value& index) { m_stabindex = index; }
    const platform::Value& Stabindex() const { return m_stabindex; }

    // Ends the modal showing through the close handling (as Esc and the cancel button do).
    void done(int result) override;

protected:
    // Whether the screen may go away now (an exit question, a save); true by default.
    virtual bool queryUnload() { return true; }
    // Releases what the screen holds once it goes away.
    virtual void unloadForm() {}

    void closeEvent(QCloseEvent* event) override;

    // While one lives the screen is committing. A close asked for meanwhile (cancel, Esc, the
    // window's close button, the host) is held back and happens once the last scope has ended, so
    // the window never goes away under a running commit.
    class CommitScope
    {
    public:
        explicit CommitScope(ModuleForm& screen);
        ~CommitScope();
        CommitScope(const CommitScope&) = delete;
        CommitScope& operator=(const CommitScope&) = delete;

    private:
        ModuleForm& m_screen;
    };
    bool committing() const { return m_commits > 0; }

private:
    // Runs queryUnload and, when it agrees, unloadForm. False keeps the screen open.
    bool runCloseHandling();

    platform::Value m_stabindex = platform::Value(0);
    bool m_closing = false;
    int m_commits = 0;
    bool m_closeAfterCommit = false;
};

} // namespace ormex::module::frame
