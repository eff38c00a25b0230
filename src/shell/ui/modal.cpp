#include "shell/ui/modal.h"

#include <QApplication>
#include <QList>
#include <QSet>
#include <QTimer>

#include <vector>

namespace modal {
namespace {

// The dialogs and loops running now. They belong to the one interface thread, as the application's own stack of
// modal windows does.
struct State {
    QList<QPointer<QDialog>> dialogs; // outermost first
    int loops = 0;
    bool closing = false;
    std::vector<std::function<void()>> pending;
    QSet<const QDialog*> closedByWatch;
};

State& Current() {
    static State state;
    return state;
}

// The watch's actions run once the last loop has returned and the code after it has run too: from the event
// queue, not from inside the loop's caller.
void Settle() {
    State& s = Current();
    if (s.loops > 0 || s.pending.empty()) {
        return;
    }
    QTimer::singleShot(0, qApp, [] {
        State& now = Current();
        if (now.loops > 0) {
            return;
        }
        now.closing = false;
        const std::vector<std::function<void()>> actions = std::move(now.pending);
        now.pending.clear();
        for (const std::function<void()>& action : actions) {
            action();
        }
    });
}

} // namespace

int Exec(QDialog* dialog) {
    State& s = Current();
    if (dialog == nullptr) {
        return QDialog::Rejected;
    }
    s.closedByWatch.remove(dialog);
    if (s.closing) {
        s.closedByWatch.insert(dialog);
        return QDialog::Rejected;
    }
    const QPointer<QDialog> guard(dialog);
    s.dialogs.append(guard);
    ++s.loops;
    const int result = dialog->exec();
    s.dialogs.removeOne(guard);
    --s.loops;
    Settle();
    return guard.isNull() || s.closedByWatch.contains(dialog) ? int(QDialog::Rejected) : result;
}

bool ClosedByWatch(const QDialog* dialog) {
    return Current().closedByWatch.contains(dialog);
}

Loop::Loop() {
    ++Current().loops;
}

Loop::~Loop() {
    --Current().loops;
    Settle();
}

void AfterLoops(std::function<void()> action) {
    State& s = Current();
    if (s.loops == 0 && s.pending.empty()) {
        action();
        return;
    }
    s.pending.push_back(std::move(action));
    Settle();
}

void CloseAll(std::function<void()> then) {
    State& s = Current();
    if (s.loops > 0) {
        s.closing = true;
        for (auto it = s.dialogs.crbegin(); it != s.dialogs.crend(); ++it) {
            if (QDialog* dialog = it->data()) {
                s.closedByWatch.insert(dialog);
                QObject::connect(dialog, &QObject::destroyed, qApp,
                                 [dialog] { Current().closedByWatch.remove(dialog); });
                dialog->done(QDialog::Rejected);
            }
        }
        // Dialogs the toolkit opens by itself (a file dialog's question, say) go the same way.
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (auto* dialog = qobject_cast<QDialog*>(window); dialog != nullptr && dialog->isVisible()) {
                dialog->done(QDialog::Rejected);
            }
        }
    }
    AfterLoops(std::move(then));
}

bool Running() {
    return Current().loops > 0;
}

} // namespace modal
