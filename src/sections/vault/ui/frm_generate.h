#pragma once

#include "sections/vault/password_generator.h"

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QSpinBox;

// Makes a new random password or passphrase for a field. The preview is shown in clear: it is the person's own
// new value, and nothing copies it anywhere unasked.
class frmGenerate : public QDialog {
    Q_OBJECT
public:
    explicit frmGenerate(QWidget* parent = nullptr);
    ~frmGenerate() override;

    // The value after an accepted dialog; the caller wipes it.
    QString takeValue();

    QPushButton* cmdOK = nullptr;
    QPushButton* cmdEsc = nullptr;

private:
    password_generator::Options options() const;
    void settingsChanged();
    void cmdRegenerate_Click();
    void cmdOK_Click();

    QRadioButton* optCharacters = nullptr;
    QSpinBox* txtLength = nullptr;
    QCheckBox* chkLower = nullptr;
    QCheckBox* chkUpper = nullptr;
    QCheckBox* chkDigits = nullptr;
    QCheckBox* chkSymbols = nullptr;
    QCheckBox* chkLookAlike = nullptr;
    QRadioButton* optWords = nullptr;
    QSpinBox* txtWords = nullptr;
    QLineEdit* txtPreview = nullptr;
    QLabel* lblEntropy = nullptr;
    QPushButton* cmdRegenerate = nullptr;
    QString m_value;
};
