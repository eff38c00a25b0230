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
    QObject::connect(poll, &QTimer::timeout, qApp, [poll, act] {
        if (auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget())) {
            poll->stop();
            poll->deleteLater();
            act(dialog);
        }
    });
    poll->start(20);
}
