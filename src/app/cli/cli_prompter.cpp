#include "app/cli/cli_prompter.h"

#include "base/password_strength.h"
#include "store/cry.h"

#include <cstdio>
#include <string>

#include <termios.h>
#include <unistd.h>

Prompter::Reply CliPrompter::message(int, const QString& text, Buttons buttons, Icon) {
    m_err << "noctaria-cli: " << text << "\n";
    m_err.flush();
    return SafeReply(buttons);
}

QString CliPrompter::readSecretLine(const QString& prompt) {
    const bool terminal = isatty(STDIN_FILENO) == 1;
    termios saved{};
    if (terminal) {
        m_err << prompt << " ";
        m_err.flush();
        tcgetattr(STDIN_FILENO, &saved);
        termios quiet = saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }
    std::string line;
    bool any = false;
    for (int c = std::getchar(); c != EOF && c != '\n'; c = std::getchar()) {
        line.push_back(static_cast<char>(c));
        any = true;
    }
    if (terminal) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved);
        m_err << "\n";
        m_err.flush();
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    QString text = any ? QString::fromUtf8(line.data(), static_cast<qsizetype>(line.size())) : QString();
    std::fill(line.begin(), line.end(), '\0');
    return text;
}

// Advice only: the length rule is the one refusal of a new passphrase.
void CliPrompter::tellStrength(const QString& passphrase) {
    const password_strength::Estimate estimate = password_strength::Rate(passphrase);
    m_err << "noctaria-cli: " << password_strength::Describe(estimate) << "\n";
    if (password_strength::IsWeak(estimate)) {
        m_err << "noctaria-cli: warning: this passphrase is easy to guess; anyone who gets hold of a copy of the file "
                 "can try guesses at leisure. 'noctaria-cli generate --words 5' makes a strong one.\n";
    }
    m_err.flush();
}

Prompter::PassphraseReply CliPrompter::passphrase(const PassphraseRequest& request) {
    PassphraseReply reply;
    QString first = readSecretLine(request.prompt);
    if (first.isNull()) {
        return reply;
    }
    if (request.confirmWanted && isatty(STDIN_FILENO) == 1) {
        QString second = readSecretLine(QStringLiteral("Confirm passphrase:"));
        const bool same = second == first;
        CRY::WipeText(second);
        if (!same) {
            m_err << "noctaria-cli: the two entries differ\n";
            CRY::WipeText(first);
            return reply;
        }
    }
    if (request.confirmWanted) {
        tellStrength(first);
    }
    reply.cancelled = false;
    reply.text = first;
    CRY::WipeText(first);
    return reply;
}
