#pragma once

#include "store/prompter.h"

#include <QList>
#include <QQueue>
#include <QString>
#include <QStringList>
#include <QThread>

// Answers the store's questions from a script and records what was asked, so tests can drive every dialog
// without a person and check what the person would have seen. Passphrase dialogs take the queued entries in
// order (an empty queue cancels); message boxes take the queued replies in order (an empty queue gives the
// box's safe choice: Ok for Ok, Cancel or No otherwise). Waits do not really wait.
class ScriptedPrompter : public Prompter {
public:
    struct Shown {
        int number;
        QString text;
        Buttons buttons;
    };

    QQueue<QString> passphrases; // each entry one dialog; a null QString cancels that dialog
    QQueue<Reply> replies;
    QString folder;         // answer of chooseFolder
    QString newFile;        // answer of chooseNewFile
    QString openFile;       // answer of chooseExistingFile
    QQueue<QString> inputs; // each entry one input box; a null QString or an empty queue cancels

    QList<Shown> shown;
    QList<PassphraseRequest> passphraseRequests;
    QList<int> waits;
    QStringList inputTitles;
    QStringList inputPrompts;
    QStringList inputDefaults;
    QStringList statuses;
    QList<QThread*> askedOn; // the thread each dialog was asked for on

    Reply message(int number, const QString& text, Buttons buttons, Icon) override {
        askedOn.append(QThread::currentThread());
        shown.append({number, text, buttons});
        return replies.isEmpty() ? SafeReply(buttons) : replies.dequeue();
    }
    PassphraseReply passphrase(const PassphraseRequest& request) override {
        askedOn.append(QThread::currentThread());
        passphraseRequests.append(request);
        PassphraseReply reply;
        if (!passphrases.isEmpty()) {
            const QString next = passphrases.dequeue();
            reply.cancelled = next.isNull();
            reply.text = next;
        }
        return reply;
    }
    QString input(const QString& title, const QString& prompt, const QString& defaultText) override {
        inputTitles.append(title);
        inputPrompts.append(prompt);
        inputDefaults.append(defaultText);
        return inputs.isEmpty() ? QString() : inputs.dequeue();
    }
    QString chooseNewFile(const QString&, const QString&) override { return asked(newFile); }
    QString chooseExistingFile(const QString&, const QString&) override { return asked(openFile); }
    QString chooseFolder(const QString&, const QString&) override { return asked(folder); }
    void status(const QString& text) override { statuses.append(text); }
    void penaltyWait(int milliseconds) override { waits.append(milliseconds); }

    // Forgets what was asked so far, so that a test counts only what comes after its set-up.
    void forget() {
        shown.clear();
        passphraseRequests.clear();
        waits.clear();
        inputTitles.clear();
        inputPrompts.clear();
        inputDefaults.clear();
        statuses.clear();
        askedOn.clear();
    }

    // The catalogue numbers of the boxes shown so far.
    QList<int> numbers() const {
        QList<int> result;
        for (const Shown& s : shown) {
            result.append(s.number);
        }
        return result;
    }

private:
    QString asked(const QString& answer) {
        askedOn.append(QThread::currentThread());
        return answer;
    }
};
