#pragma once

#include "store/prompter.h"

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class StrengthMeter;

// The passphrase dialog. While it is the active window it holds the keyboard grab, so other programs of the
// session do not see the typing; the grab goes as soon as the dialog loses the front.
class frmPW : public QDialog {
    Q_OBJECT
public:
    frmPW(Prompter& prompter, const Prompter::PassphraseRequest& request, QWidget* parent = nullptr);
    ~frmPW() override;

    // The typed text after an accepted dialog; the caller wipes it.
    QString takePassphrase();
    // After a mismatch of the two entries the person chose to end the program.
    bool shutDownAsked() const { return m_shutDown; }

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void cmdOK_Click();
    void cmdCancel_Click();
    void updateOk();
    void setShowClear(bool clear);
    bool strengthAccepted(const QString& text);
    bool guessableAccepted(const QString& text);
    void restart();
    void holdKeyboard(bool hold);

    Prompter& m_prompter;
    QLabel* lblTitle = nullptr;
    QLabel* lblPath = nullptr;
    QLabel* lblPrompt = nullptr;
    QLineEdit* txtInput = nullptr;
    StrengthMeter* lblStrength = nullptr; // only while a new passphrase is typed
    QCheckBox* chkShowClear = nullptr;
    QCheckBox* chkPwLength = nullptr;
    QCheckBox* chkConfirm = nullptr;
    QCheckBox* chkCheckPWquality = nullptr;
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdCancel = nullptr;
    QString m_initialPrompt;
    QString m_first;
    QString m_result;
    bool m_shutDown = false;
    bool m_grabbing = false;
};
