#include "shell/ui/frm_pw.h"

#include "base/messages.h"
#include "base/password_strength.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/strength_meter.h"
#include "store/cry.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QEvent>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
constexpr int kMinLength = 8;
} // namespace

frmPW::frmPW(Prompter& prompter, const Prompter::PassphraseRequest& request, QWidget* parent)
    : QDialog(parent)
    , m_prompter(prompter)
    , m_initialPrompt(request.prompt) {
    setObjectName(QStringLiteral("frmPW"));
    setModal(true);

    lblTitle = new QLabel(this);
    lblTitle->setObjectName(QStringLiteral("lblTitle"));
    QFont bold = lblTitle->font();
    bold.setBold(true);
    lblTitle->setFont(bold);
    lblPath = new QLabel(this);
    lblPath->setObjectName(QStringLiteral("lblPath"));
    lblPath->setWordWrap(true);
    if (!request.fileName.isEmpty()) {
        lblTitle->setText(MsgText(260) + QStringLiteral(": ") + request.fileName.toUpper());
        lblPath->setText(MsgText(261) + QStringLiteral(": ") + request.folder);
    } else {
        lblTitle->hide();
        lblPath->hide();
    }
    lblPrompt = new QLabel(request.prompt, this);
    lblPrompt->setObjectName(QStringLiteral("lblPrompt"));
    txtInput = new QLineEdit(this);
    txtInput->setObjectName(QStringLiteral("txtInput"));
    txtInput->setEchoMode(QLineEdit::Password);
    txtInput->setMinimumWidth(320);
    if (request.confirmWanted) {
        lblStrength = new StrengthMeter(txtInput, this);
        lblStrength->setObjectName(QStringLiteral("lblStrength"));
    }
    chkShowClear = new QCheckBox(this);
    chkShowClear->setObjectName(QStringLiteral("chkShowClear"));
    chkPwLength = new QCheckBox(this);
    chkPwLength->setObjectName(QStringLiteral("chkPwLength"));
    chkPwLength->setChecked(request.checkLength);
    chkConfirm = new QCheckBox(this);
    chkConfirm->setObjectName(QStringLiteral("chkConfirm"));
    chkConfirm->setChecked(request.confirmWanted);
    chkCheckPWquality = new QCheckBox(this);
    chkCheckPWquality->setObjectName(QStringLiteral("chkCheckPWquality"));
    chkCheckPWquality->setChecked(request.confirmWanted);
    // The options belong to the request; the person only chooses how the entry is shown.
    for (QCheckBox* fixed : {chkPwLength, chkConfirm, chkCheckPWquality}) {
        fixed->setEnabled(false);
        fixed->setVisible(fixed->isChecked());
    }

    auto* buttons = new QDialogButtonBox(this);
    cmdOK = buttons->addButton(QString(), QDialogButtonBox::AcceptRole);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdCancel = buttons->addButton(QString(), QDialogButtonBox::RejectRole);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdOK->setDefault(true);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblTitle);
    layout->addWidget(lblPath);
    layout->addSpacing(8);
    layout->addWidget(lblPrompt);
    layout->addWidget(txtInput);
    if (lblStrength != nullptr) {
        layout->addWidget(lblStrength);
    }
    layout->addWidget(chkShowClear);
    layout->addWidget(chkPwLength);
    layout->addWidget(chkConfirm);
    layout->addWidget(chkCheckPWquality);
    layout->addWidget(buttons);

    connect(txtInput, &QLineEdit::textChanged, this, &frmPW::updateOk);
    connect(chkShowClear, &QCheckBox::toggled, this, &frmPW::setShowClear);
    connect(cmdOK, &QPushButton::clicked, this, &frmPW::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmPW::cmdCancel_Click);
    ApplyCaptions(this);
    updateOk();
}

frmPW::~frmPW() {
    holdKeyboard(false);
    CRY::WipeText(m_first);
    CRY::WipeText(m_result);
}

QString frmPW::takePassphrase() {
    QString result = m_result;
    CRY::WipeText(m_result);
    return result;
}

void frmPW::updateOk() {
    // At a login an empty entry may still mean cancel; a new passphrase is never empty, and Cancel is there for
    // leaving.
    const qsizetype n = txtInput->text().size();
    const bool emptyCancels = n == 0 && m_first.isEmpty() && !chkConfirm->isChecked();
    cmdOK->setEnabled(emptyCancels || (chkPwLength->isChecked() ? n >= kMinLength : n > 0 || m_first.isEmpty()));
}

void frmPW::setShowClear(bool clear) {
    txtInput->setEchoMode(clear ? QLineEdit::Normal : QLineEdit::Password);
}

bool frmPW::strengthAccepted(const QString& text) {
    bool digitOrOther = false;
    for (const QChar c : text) {
        const bool letterOrBlank = (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u' ';
        digitOrOther = digitOrOther || !letterOrBlank;
    }
    if (digitOrOther) {
        return true;
    }
    return m_prompter.message(158, MsgText(158), Prompter::Buttons::YesNo, Prompter::Icon::Question) ==
           Prompter::Reply::Yes;
}

bool frmPW::guessableAccepted(const QString& text) {
    const password_strength::Estimate estimate = password_strength::Rate(text);
    if (!password_strength::IsWeak(estimate)) {
        return true;
    }
    const QString warning = QStringLiteral("This passphrase is easy to guess.\n%1\n\n"
                                           "Anyone who gets hold of a copy of the file can try guesses at leisure.\n"
                                           "Keep it anyway? (No: choose another)")
                                .arg(password_strength::Describe(estimate));
    return m_prompter.message(0, warning, Prompter::Buttons::YesNo, Prompter::Icon::Warning) == Prompter::Reply::Yes;
}

void frmPW::restart() {
    CRY::WipeText(m_first);
    if (lblStrength != nullptr) {
        lblStrength->show();
    }
    txtInput->clear();
    lblPrompt->setText(m_initialPrompt);
    txtInput->setFocus();
    updateOk();
}

void frmPW::cmdOK_Click() {
    QString text = txtInput->text();
    if (text.isEmpty() && m_first.isEmpty()) {
        cmdCancel_Click();
        return;
    }
    if (chkCheckPWquality->isChecked() && m_first.isEmpty() && !(strengthAccepted(text) && guessableAccepted(text))) {
        CRY::WipeText(text);
        txtInput->clear();
        txtInput->setFocus();
        return;
    }
    if (chkConfirm->isChecked() && m_first.isEmpty()) {
        m_first = text;
        CRY::WipeText(text);
        chkShowClear->setChecked(false);
        // The confirmation must match, not be judged again.
        if (lblStrength != nullptr) {
            lblStrength->hide();
        }
        lblPrompt->setText(MsgText(42));
        txtInput->clear();
        txtInput->setFocus();
        updateOk();
        return;
    }
    if (!m_first.isEmpty() && text != m_first) {
        CRY::WipeText(text);
        if (m_prompter.message(84, MsgText(84), Prompter::Buttons::RetryCancel, Prompter::Icon::Warning) ==
            Prompter::Reply::Retry) {
            restart();
            return;
        }
        CRY::WipeText(m_first);
        m_shutDown = true;
        reject();
        return;
    }
    m_result = text;
    CRY::WipeText(text);
    CRY::WipeText(m_first);
    txtInput->clear();
    accept();
}

void frmPW::cmdCancel_Click() {
    CRY::WipeText(m_first);
    txtInput->clear();
    reject();
}

void frmPW::holdKeyboard(bool hold) {
    if (hold && !m_grabbing) {
        txtInput->grabKeyboard();
        m_grabbing = true;
    } else if (!hold && m_grabbing) {
        txtInput->releaseKeyboard();
        m_grabbing = false;
    }
}

void frmPW::changeEvent(QEvent* event) {
    if (event->type() == QEvent::ActivationChange) {
        holdKeyboard(isActiveWindow());
    }
    QDialog::changeEvent(event);
}

void frmPW::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    txtInput->setFocus();
}

void frmPW::hideEvent(QHideEvent* event) {
    holdKeyboard(false);
    QDialog::hideEvent(event);
}
