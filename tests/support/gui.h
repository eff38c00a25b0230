#pragma once

// What the tests of windows and dialogs share: their main, controls found by name, and answers to a modal dialog
// that a call is about to open and wait for.

#include "support/test_main.h"

#include <QtWidgets>

#include <functional>

#define NCT_GUI_TEST_MAIN(TestObject) NCT_TEST_MAIN_WITH(QApplication, TestObject)

// The control of that name inside `scope`; says which one is missing before the test trips over it.
template <typename T = QWidget> T* Find(const QObject& scope, const QString& name) {
    T* found = scope.findChild<T*>(name);
    if (found == nullptr) {
        qWarning("no control %s", qPrintable(name));
    }
    return found;
}

inline void Click(const QObject& scope, const QString& name) {
    Find<QAbstractButton>(scope, name)->click();
}

// Does `act` with the modal dialog of that kind as soon as one is in front, however deep inside other calls it
// opens.
template <typename Dialog> void WhenModal(std::function<void(Dialog*)> act) {
    auto* poll = new QTimer(qApp);
    poll->setObjectName(QStringLiteral("whenModal"));
    QObject::connect(poll, &QTimer::timeout, qApp, [poll, act] {
        if (auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget())) {
            poll->stop();
            poll->deleteLater();
            act(dialog);
        }
    });
    poll->start(20);
}

// Runs `fill` on the dialog of that kind once it is in front, then presses its cmdOK unless `fill` closed it or
// `thenOk` is false. A dialog still open after that (a check in `fill` failed, or OK refused) is closed, so that no
// test waits for ever.
template <typename Dialog> void AnswerDialog(std::function<void(Dialog&)> fill, bool thenOk = true) {
    WhenModal<Dialog>([fill, thenOk](Dialog* dialog) {
        fill(*dialog);
        if (thenOk && dialog->isVisible()) {
            dialog->cmdOK->click();
        }
        if (dialog->isVisible()) {
            dialog->done(QDialog::Rejected);
        }
    });
}

// Drops the answers waiting for dialogs that never came, so that none of them answers a later test's dialog.
inline void ForgetModalWaits() {
    qDeleteAll(qApp->findChildren<QTimer*>(QStringLiteral("whenModal"), Qt::FindDirectChildrenOnly));
}

// Brings `window` to the front, as shortcuts and focus moves need; whether it got there.
inline bool Activated(QWidget* window) {
    window->activateWindow();
    return QTest::qWaitForWindowActive(window);
}
