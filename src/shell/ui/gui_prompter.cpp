#include "shell/ui/gui_prompter.h"

#include "shell/file_choice.h"
#include "shell/ui/frm_pw.h"
#include "shell/ui/modal.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>
#include <QVBoxLayout>

// While a question is on screen the busy window must not stand in front of it.
class Aside {
public:
    explicit Aside(GuiPrompter& prompter)
        : m_prompter(prompter) {
        if (m_prompter.m_asking++ == 0 && m_prompter.m_busyWindow) {
            m_prompter.m_busyWindow->hide();
        }
    }
    ~Aside() {
        if (--m_prompter.m_asking == 0 && m_prompter.m_busyWindow && m_prompter.m_busyDue) {
            m_prompter.m_busyWindow->show();
        }
    }
    Aside(const Aside&) = delete;
    Aside& operator=(const Aside&) = delete;

private:
    GuiPrompter& m_prompter;
};

namespace {

QMessageBox::StandardButton ButtonOf(Prompter::Reply reply) {
    switch (reply) {
    case Prompter::Reply::Ok:
        return QMessageBox::Ok;
    case Prompter::Reply::Yes:
        return QMessageBox::Yes;
    case Prompter::Reply::No:
        return QMessageBox::No;
    case Prompter::Reply::Retry:
        return QMessageBox::Retry;
    case Prompter::Reply::Cancel:
        break;
    }
    return QMessageBox::Cancel;
}

} // namespace

Prompter::Reply GuiPrompter::message(int, const QString& text, Buttons buttons, Icon icon) {
    const Aside aside(*this);
    const modal::Scoped<QMessageBox> box(m_parent);
    box->setWindowTitle(QStringLiteral("Noctaria"));
    box->setText(text);
    switch (icon) {
    case Icon::Information:
        box->setIcon(QMessageBox::Information);
        break;
    case Icon::Warning:
        box->setIcon(QMessageBox::Warning);
        break;
    case Icon::Critical:
        box->setIcon(QMessageBox::Critical);
        break;
    case Icon::Question:
        box->setIcon(QMessageBox::Question);
        break;
    }
    switch (buttons) {
    case Buttons::Ok:
        box->setStandardButtons(QMessageBox::Ok);
        break;
    case Buttons::OkCancel:
        box->setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
        break;
    case Buttons::YesNo:
    case Buttons::YesNoSafeYes:
        box->setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        break;
    case Buttons::RetryCancel:
        box->setStandardButtons(QMessageBox::Retry | QMessageBox::Cancel);
        break;
    }
    // Enter and Esc both take the choice that changes nothing, so that no key pressed in haste destroys anything.
    const QMessageBox::StandardButton safe = ButtonOf(SafeReply(buttons));
    box->setDefaultButton(safe);
    box->setEscapeButton(safe);
    switch (box.exec()) {
    case QMessageBox::Ok:
        return Reply::Ok;
    case QMessageBox::Yes:
        return Reply::Yes;
    case QMessageBox::No:
        return Reply::No;
    case QMessageBox::Retry:
        return Reply::Retry;
    case QMessageBox::Cancel:
        return Reply::Cancel;
    default:
        // Closed by the idle watch.
        return SafeReply(buttons);
    }
}

Prompter::PassphraseReply GuiPrompter::passphrase(const PassphraseRequest& request) {
    const Aside aside(*this);
    const modal::Scoped<frmPW> dialog(*this, request, m_parent);
    PassphraseReply reply;
    if (dialog.exec() == QDialog::Accepted) {
        reply.cancelled = false;
        reply.text = dialog->takePassphrase();
    } else if (dialog.get() != nullptr && dialog->shutDownAsked() && m_shutDown) {
        QTimer::singleShot(0, m_parent, m_shutDown);
    }
    return reply;
}

QString GuiPrompter::input(const QString& title, const QString& prompt, const QString& defaultText) {
    const Aside aside(*this);
    const modal::Scoped<QInputDialog> box(m_parent);
    box->setObjectName(QStringLiteral("frmInputbox"));
    box->setWindowTitle(title);
    box->setLabelText(prompt);
    box->setTextValue(defaultText);
    if (box.exec() != QDialog::Accepted) {
        return {};
    }
    // An accepted empty answer is still an answer, not a cancel.
    const QString text = box->textValue();
    return text.isNull() ? QStringLiteral("") : text;
}

QString GuiPrompter::runFileDialog(const QString& title, const QString& filter, bool save, const QString& start) {
    const Aside aside(*this);
    QString folder = start;
    if (folder.isEmpty()) {
        folder = QFileInfo::exists(file_choice::DefaultFolder())
                     ? file_choice::DefaultFolder()
                     : QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    }
    const modal::Scoped<QFileDialog> dialog(m_parent, title, folder, filter);
    dialog->setObjectName(save ? QStringLiteral("dlgSaveFile") : QStringLiteral("dlgOpenFile"));
    dialog->setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog->setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    // The name typed without an extension gets the filter's, before the dialog asks whether to replace a file,
    // so that the question is about the file that would really be replaced.
    const QRegularExpressionMatch suffix = QRegularExpression(QStringLiteral("\\*\\.(\\w+)")).match(filter);
    if (save && suffix.hasMatch()) {
        dialog->setDefaultSuffix(suffix.captured(1));
    }
    if (dialog.exec() != QDialog::Accepted || dialog->selectedFiles().isEmpty()) {
        return {};
    }
    return dialog->selectedFiles().first();
}

QString GuiPrompter::chooseNewFile(const QString& title, const QString& filter) {
    return runFileDialog(title, filter, true);
}

QString GuiPrompter::chooseExistingFile(const QString& title, const QString& filter) {
    return runFileDialog(title, filter, false);
}

QString GuiPrompter::chooseFolder(const QString& prompt, const QString& start) {
    const Aside aside(*this);
    const modal::Scoped<QFileDialog> dialog(m_parent, prompt, start);
    dialog->setObjectName(QStringLiteral("dlgFolder"));
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    if (dialog.exec() != QDialog::Accepted || dialog->selectedFiles().isEmpty()) {
        return {};
    }
    return dialog->selectedFiles().first();
}

void GuiPrompter::status(const QString& text) {
    if (m_status) {
        m_status(text);
    }
}

void GuiPrompter::penaltyWait(int milliseconds) {
    if (m_penaltyWait) {
        m_penaltyWait(milliseconds);
        return;
    }
    const modal::Loop running;
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
}

int GuiPrompter::busy(const QString& text, const std::function<int()>& work) {
    const modal::Loop running;
    // A plain window, not a dialog: the idle watch closes dialogs, and this one must stay until the work is done.
    QWidget window(m_parent, Qt::Dialog);
    window.setObjectName(QStringLiteral("dlgBusy"));
    window.setWindowTitle(QStringLiteral("Noctaria"));
    window.setWindowModality(Qt::ApplicationModal);
    window.setWindowFlag(Qt::WindowCloseButtonHint, false);
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(new QLabel(text, &window));
    auto* bar = new QProgressBar(&window);
    bar->setRange(0, 0);
    layout->addWidget(bar);
    m_busyWindow = &window;
    m_busyDue = false;
    // Short work shows no window at all; longer work shows it unless a question stands in front.
    QTimer due;
    due.setSingleShot(true);
    QObject::connect(&due, &QTimer::timeout, &window, [this, &window] {
        m_busyDue = true;
        if (m_asking == 0) {
            window.show();
        }
    });
    due.start(300);
    int result = 0;
    QThread* worker = QThread::create([&result, &work] { result = work(); });
    QEventLoop loop;
    QObject::connect(worker, &QThread::finished, &loop, &QEventLoop::quit);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    worker->start();
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    worker->wait();
    delete worker;
    QApplication::restoreOverrideCursor();
    m_busyWindow = nullptr;
    m_busyDue = false;
    return result;
}
