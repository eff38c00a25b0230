#pragma once

#include <QDialog>
#include <QPointer>

#include <functional>
#include <utility>

// Every modal dialog of the program runs through here. The idle watch can then close whatever is open, as Esc
// would but without asking anything, before it hides or blocks; and what it does afterwards waits until no
// dialog's loop is left on the stack, so that no form goes while code of its dialogs still runs.
namespace modal {

// Runs `dialog` modally and returns its result. Rejected when the watch closed it, when it went with its parent
// meanwhile, or when the watch is closing dialogs and no new one may open.
int Exec(QDialog* dialog);

// Whether the last run of `dialog` through Exec ended by the watch.
bool ClosedByWatch(const QDialog* dialog);

// Marks a loop other than a dialog's (busy work, a wait) as running, so that the watch's action waits for it.
class Loop {
public:
    Loop();
    ~Loop();
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;
};

// Closes every dialog run by Exec, innermost first, without a question; then, once no loop is left running,
// calls `then` (at once when none ran). New dialogs are refused until `then` is called.
void CloseAll(std::function<void()> then);

// Calls `action` once no dialog or loop is left running: at once when none runs.
void AfterLoops(std::function<void()> action);

// Whether any dialog or loop runs now.
bool Running();

// A dialog on the heap, parented to a form: gone at the end of the scope, or earlier with its parent.
template <typename T> class Scoped {
public:
    template <typename... Args>
    explicit Scoped(Args&&... args)
        : m_dialog(new T(std::forward<Args>(args)...)) {}
    ~Scoped() { delete m_dialog.data(); }
    Scoped(const Scoped&) = delete;
    Scoped& operator=(const Scoped&) = delete;

    T* get() const { return m_dialog.data(); }
    T* operator->() const { return m_dialog.data(); }
    T& operator*() const { return *m_dialog; }
    // Runs the dialog through Exec.
    int exec() const { return Exec(m_dialog.data()); }

private:
    QPointer<T> m_dialog;
};

} // namespace modal
