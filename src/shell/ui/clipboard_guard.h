#pragma once

#include <QObject>
#include <QTimer>

// Keeps what the program copies from lingering: 30 seconds after the last cut or copy the clipboard's text is
// overwritten with random characters and cleared. Copies carry the hint that tells clipboard managers not to
// keep them. Other kinds of content are left alone.
//
// Every copy counts, whichever way it was made: the menu's, a text field's own Ctrl+C or Ctrl+X, its context
// menu. The guard watches the clipboard itself for content this program put there.
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

private:
    void clipboardChanged();

    bool m_writing = false;
};
