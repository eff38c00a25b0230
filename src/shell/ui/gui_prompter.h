#pragma once

#include "store/prompter.h"

#include <QPointer>
#include <QString>

#include <functional>

class QWidget;

// Asks the person through real dialogs: message boxes, the passphrase dialog, file and folder dialogs.
class GuiPrompter final : public Prompter {
public:
    explicit GuiPrompter(QWidget* parent = nullptr)
        : m_parent(parent) {}

    void setParent(QWidget* parent) { m_parent = parent; }
    // Where status texts go (the start screen's status line).
    void setStatusSink(std::function<void(const QString&)> sink) { m_status = std::move(sink); }
    // The main frame's wait after a wrong passphrase, on its own timer.
    void setPenaltyWait(std::function<void(int)> wait) { m_penaltyWait = std::move(wait); }
    // Called when the person ends the program from the passphrase dialog.
    void setShutDown(std::function<void()> shutDown) { m_shutDown = std::move(shutDown); }

    Reply message(int number, const QString& text, Buttons buttons, Icon icon) override;
    PassphraseReply passphrase(const PassphraseRequest& request) override;
    QString input(const QString& title, const QString& prompt, const QString& defaultText) override;
    QString chooseNewFile(const QString& title, const QString& filter) override;
    QString chooseExistingFile(const QString& title, const QString& filter) override;
    QString chooseFolder(const QString& prompt, const QString& start) override;
    void status(const QString& text) override;
    void penaltyWait(int milliseconds) override;
    int busy(const QString& text, const std::function<int()>& work) override;

private:
    // A file dialog starting in the open file's folder, the program's folder of the documents, or the documents.
    QString runFileDialog(const QString& title, const QString& filter, bool save, const QString& start = {});

    QPointer<QWidget> m_parent;
    friend class Aside;
    // The busy window while work runs; it steps aside while the work asks the person something.
    QPointer<QWidget> m_busyWindow;
    bool m_busyDue = false; // the work has run long enough for the window to show
    int m_asking = 0;
    std::function<void(const QString&)> m_status;
    std::function<void()> m_shutDown;
    std::function<void(int)> m_penaltyWait;
};
