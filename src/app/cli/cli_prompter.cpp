#include "app/cli/cli_prompter.h"

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
    reply.cancelled = false;
    reply.text = first;
    CRY::WipeText(first);
    return reply;
}
