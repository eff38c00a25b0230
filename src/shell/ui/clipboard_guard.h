#pragma once

#include <QObject>
#include <QTimer>

// Keeps what the program copies from lingering: 30 seconds after the last cut or copy the clipboard's text is
// overwritten with random characters and cleared. Copies carry the hint that tells clipboard managers not to
// keep them. Other kinds of content are left alone.
class ClipboardGuard : public QObject {
    Q_OBJECT
public:
    explicit ClipboardGuard(QObject* parent = nullptr);

    // Puts text on the clipboard as a cut or copy does, and restarts the 30 seconds.
    void copy(const QString& text);
    // Restarts the 30 seconds, as a copy seen elsewhere does.
    void ArmClipboardTimer();
    void WipeClipboard();

    QTimer timerClipboard;
};
