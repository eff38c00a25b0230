#pragma once

#include "store/prompter.h"

#include <QPointer>

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
    QPointer<QWidget> m_parent;
    std::function<void(const QString&)> m_status;
    std::function<void()> m_shutDown;
    std::function<void(int)> m_penaltyWait;
};
