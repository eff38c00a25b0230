#include "shell/ui/gui_prompter.h"

#include "shell/ui/frm_pw.h"

#include <QApplication>
#include <QEventLoop>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QProgressDialog>
#include <QThread>
#include <QTimer>

Prompter::Reply GuiPrompter::message(int, const QString& text, Buttons buttons, Icon icon) {
    QMessageBox box(m_parent);
    box.setWindowTitle(QStringLiteral("Noctaria"));
    box.setText(text);
    switch (icon) {
    case Icon::Information:
        box.setIcon(QMessageBox::Information);
        break;
    case Icon::Warning:
        box.setIcon(QMessageBox::Warning);
        break;
    case Icon::Critical:
        box.setIcon(QMessageBox::Critical);
        break;
    case Icon::Question:
        box.setIcon(QMessageBox::Question);
        break;
    }
    switch (buttons) {
    case Buttons::Ok:
        box.setStandardButtons(QMessageBox::Ok);
        break;
    case Buttons::OkCancel:
        // Destructive commands ask with Cancel as the default.
        box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
        box.setDefaultButton(QMessageBox::Cancel);
        break;
    case Buttons::YesNo:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        break;
    case Buttons::RetryCancel:
        box.setStandardButtons(QMessageBox::Retry | QMessageBox::Cancel);
        break;
    }
    switch (box.exec()) {
    case QMessageBox::Ok:
        return Reply::Ok;
    case QMessageBox::Yes:
        return Reply::Yes;
    case QMessageBox::No:
        return Reply::No;
    case QMessageBox::Retry:
        return Reply::Retry;
    default:
        return Reply::Cancel;
    }
}

Prompter::PassphraseReply GuiPrompter::passphrase(const PassphraseRequest& request) {
    frmPW dialog(*this, request, m_parent);
    PassphraseReply reply;
    if (dialog.exec() == QDialog::Accepted) {
        reply.cancelled = false;
        reply.text = dialog.takePassphrase();
    } else if (dialog.shutDownAsked() && m_shutDown) {
        QTimer::singleShot(0, m_parent, m_shutDown);
    }
    return reply;
}

QString GuiPrompter::input(const QString& title, const QString& prompt, const QString& defaultText) {
    QInputDialog box(m_parent);
    box.setObjectName(QStringLiteral("frmInputbox"));
    box.setWindowTitle(title);
    box.setLabelText(prompt);
    box.setTextValue(defaultText);
    if (box.exec() != QDialog::Accepted) {
        return {};
    }
    // An accepted empty answer is still an answer, not a cancel.
    const QString text = box.textValue();
    return text.isNull() ? QStringLiteral("") : text;
}

QString GuiPrompter::chooseNewFile(const QString& title, const QString& filter) {
    return QFileDialog::getSaveFileName(m_parent, title, QString(), filter);
}

QString GuiPrompter::chooseExistingFile(const QString& title, const QString& filter) {
    return QFileDialog::getOpenFileName(m_parent, title, QString(), filter);
}

QString GuiPrompter::chooseFolder(const QString& prompt, const QString& start) {
    return QFileDialog::getExistingDirectory(m_parent, prompt, start);
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
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
}

int GuiPrompter::busy(const QString& text, const std::function<int()>& work) {
    QProgressDialog progress(text, QString(), 0, 0, m_parent);
    progress.setWindowTitle(QStringLiteral("Noctaria"));
    progress.setWindowModality(Qt::ApplicationModal);
    progress.setMinimumDuration(300);
    progress.setCancelButton(nullptr);
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
    return result;
}
