#pragma once

#include "store/prompter.h"

#include <QTextStream>

// Answers the store's questions on the command line. Passphrases come from the terminal without echo, or line by
// line from standard input when that is not a terminal; never from arguments or the environment. Questions are
// answered with their safe choice (Cancel, No), so nothing is retried or replaced unasked.
class CliPrompter final : public Prompter {
public:
    explicit CliPrompter(QTextStream& err, QString folder = {})
        : m_err(err)
        , m_folder(std::move(folder)) {}

    Reply message(int number, const QString& text, Buttons buttons, Icon icon) override;
    PassphraseReply passphrase(const PassphraseRequest& request) override;
    QString chooseNewFile(const QString&, const QString&) override { return {}; }
    QString chooseExistingFile(const QString&, const QString&) override { return {}; }
    QString chooseFolder(const QString&, const QString&) override { return m_folder; }
    void status(const QString&) override {}
    void penaltyWait(int) override {}

private:
    QString readSecretLine(const QString& prompt);
    void tellStrength(const QString& passphrase);

    QTextStream& m_err;
    QString m_folder;
};
