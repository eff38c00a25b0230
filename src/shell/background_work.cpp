#include "shell/background_work.h"

#include <QMetaObject>
#include <QObject>
#include <QThread>

#include <exception>

namespace {

// Hands every question of the worker to the prompter on the thread of `home`, and waits for the answer. Busy work
// started from the worker runs where it is, as the worker is busy already.
class RelayPrompter final : public Prompter {
public:
    RelayPrompter(Prompter& target, QObject& home)
        : m_target(target)
        , m_home(home) {}

    Reply message(int number, const QString& text, Buttons buttons, Icon icon) override {
        return call([&] { return m_target.message(number, text, buttons, icon); });
    }
    PassphraseReply passphrase(const PassphraseRequest& request) override {
        return call([&] { return m_target.passphrase(request); });
    }
    QString chooseNewFile(const QString& title, const QString& filter) override {
        return call([&] { return m_target.chooseNewFile(title, filter); });
    }
    QString chooseExistingFile(const QString& title, const QString& filter) override {
        return call([&] { return m_target.chooseExistingFile(title, filter); });
    }
    QString chooseFolder(const QString& prompt, const QString& start) override {
        return call([&] { return m_target.chooseFolder(prompt, start); });
    }
    void status(const QString& text) override {
        call([&] {
            m_target.status(text);
            return 0;
        });
    }
    void penaltyWait(int milliseconds) override {
        call([&] {
            m_target.penaltyWait(milliseconds);
            return 0;
        });
    }

private:
    template <typename Ask> auto call(Ask ask) -> decltype(ask()) {
        if (QThread::currentThread() == m_home.thread()) {
            return ask();
        }
        decltype(ask()) answer{};
        QMetaObject::invokeMethod(
            &m_home, [&] { answer = ask(); }, Qt::BlockingQueuedConnection);
        return answer;
    }

    Prompter& m_target;
    QObject& m_home;
};

} // namespace

void RunBusy(Prompter& prompter, const QString& label, const FileWork& work) {
    QObject home;
    RelayPrompter relay(prompter, home);
    std::exception_ptr failure;
    prompter.busy(label, [&] {
        try {
            work(relay);
        } catch (...) {
            failure = std::current_exception();
        }
        return 0;
    });
    if (failure) {
        std::rethrow_exception(failure);
    }
}
