#pragma once

#include <QString>

#include <functional>

// How logic asks the person something. The GUI answers with real dialogs; tests and the command line answer
// with scripted or typed replies. Texts arrive composed; the number is the catalogue message they rest on
// (0 for a text of its own), so that tests can tell the questions apart.
class Prompter {
public:
    // YesNo: No changes nothing. YesNoSafeYes: Yes changes nothing (a question that confirms a withdrawal).
    enum class Buttons { Ok, OkCancel, YesNo, YesNoSafeYes, RetryCancel };
    enum class Icon { Information, Warning, Critical, Question };
    enum class Reply { Ok, Cancel, Yes, No, Retry };

    struct PassphraseRequest {
        bool confirmWanted = false; // ask twice and test the strength
        QString prompt{};
        bool checkLength = true; // OK stays off below 8 characters; off for a PIN
        QString fileName{};      // the database's file name, shown in the header
        QString folder{};
    };
    struct PassphraseReply {
        bool cancelled = true;
        QString text; // the caller wipes it as soon as it is used
    };

    virtual ~Prompter() = default;

    // The choice that changes nothing, for a box nobody answers: Ok for a notice, Cancel or No for a question.
    static Reply SafeReply(Buttons buttons) {
        switch (buttons) {
        case Buttons::Ok:
            return Reply::Ok;
        case Buttons::YesNo:
            return Reply::No;
        case Buttons::YesNoSafeYes:
            return Reply::Yes;
        default:
            return Reply::Cancel;
        }
    }

    virtual Reply message(int number, const QString& text, Buttons buttons = Buttons::Ok,
                          Icon icon = Icon::Information) = 0;
    virtual PassphraseReply passphrase(const PassphraseRequest& request) = 0;
    // A name for a new file (the person has agreed to replace an existing one), or the empty text on cancel.
    virtual QString chooseNewFile(const QString& title, const QString& filter) = 0;
    // An existing file to open, or the empty text on cancel.
    virtual QString chooseExistingFile(const QString& title, const QString& filter) = 0;
    // A folder, or the empty text when the person cancels.
    virtual QString chooseFolder(const QString& prompt, const QString& start) = 0;
    // A line of text, as an input box asks it; the null text when the person cancels.
    virtual QString input(const QString& title, const QString& prompt, const QString& defaultText) {
        (void)title;
        (void)prompt;
        (void)defaultText;
        return {};
    }
    // The status line of the start screen.
    virtual void status(const QString& text) = 0;
    // The wait after a wrong passphrase: "Stand By" and a pause, during which the program stays responsive.
    virtual void penaltyWait(int milliseconds) = 0;
    // Runs long file work (compaction, compression) and returns its result. A window shows progress and stays
    // responsive meanwhile; the work must not ask anything or touch the interface.
    virtual int busy(const QString& text, const std::function<int()>& work) {
        (void)text;
        return work();
    }
};
