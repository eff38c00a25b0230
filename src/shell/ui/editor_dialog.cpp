#include "shell/ui/editor_dialog.h"

#include "base/messages.h"
#include "shell/show_result.h"
#include "store/prompter.h"
#include "store/record_put.h"

#include <QHBoxLayout>
#include <QKeySequence>
#include <QLocale>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

EditorDialog::EditorDialog(Prompter& prompter, QWidget* parent)
    : QDialog(parent)
    , m_prompter(prompter) {
    cmdOK = new QPushButton(this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdEsc = new QPushButton(this);
    cmdEsc->setObjectName(QStringLiteral("cmdEsc"));
    // Enter belongs to the text fields; OK is Ctrl+Enter or a click.
    cmdOK->setAutoDefault(false);
    cmdEsc->setAutoDefault(false);
    connect(cmdOK, &QPushButton::clicked, this, &EditorDialog::cmdOK_Click);
    connect(cmdEsc, &QPushButton::clicked, this, &EditorDialog::reject);
    // A shortcut, not a key handler: a multi-line field would take Ctrl+Enter for a line break.
    for (const QKeySequence& keys : {QKeySequence(Qt::CTRL | Qt::Key_Return), QKeySequence(Qt::CTRL | Qt::Key_Enter)}) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, [this] {
            if (cmdOK->isEnabled()) {
                cmdOK_Click();
            }
        });
    }
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdEsc);
    auto* layout = new QVBoxLayout(this);
    m_body = new QVBoxLayout;
    layout->addLayout(m_body, 1);
    layout->addLayout(buttons);
}

void EditorDialog::markLoaded() {
    m_loaded = values();
    m_cancelled = true;
}

void EditorDialog::reject() {
    if (changed() && m_prompter.message(20, MsgText(20), Prompter::Buttons::YesNo, Prompter::Icon::Question) !=
                         Prompter::Reply::Yes) {
        return;
    }
    m_cancelled = true;
    QDialog::reject();
}

void EditorDialog::reportFailure(const Result& result) {
    ShowResult(m_prompter, result);
}

bool EditorDialog::agreesToCut(const QString& what, const QString& text) {
    const qsizetype kept = Record_Put::FittingText(text).size();
    return kept == text.size() ||
           m_prompter.message(0,
                              QStringLiteral("The %1 is longer than a record holds: only its first %2 characters "
                                             "are kept.")
                                  .arg(what, QLocale().toString(kept)),
                              Prompter::Buttons::OkCancel, Prompter::Icon::Warning) == Prompter::Reply::Ok;
}

void EditorDialog::cmdOK_Click() {
    if (!accepted()) {
        return;
    }
    m_cancelled = false;
    accept();
}
