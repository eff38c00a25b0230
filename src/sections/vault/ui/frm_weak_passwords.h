#pragma once

#include "sections/vault/vault.h"

#include <QDialog>

class QLabel;
class QPushButton;
class QTreeWidget;

// The records whose passwords are weak or shared with another record, without the passwords; Go to leads to one.
class frmWeakPasswords : public QDialog {
    Q_OBJECT
public:
    explicit frmWeakPasswords(const QVector<vault::PasswordFinding>& findings, QWidget* parent = nullptr);

    // The record chosen with Go to or a double click; 0 for none.
    std::int32_t chosenKey() const { return m_key; }
    int chosenSubCategory() const { return m_subCategory; }

    QLabel* lblSummary = nullptr;
    QTreeWidget* LV = nullptr;
    QPushButton* cmdGoto = nullptr;
    QPushButton* cmdClose = nullptr;

private:
    void cmdGoto_Click();

    std::int32_t m_key = 0;
    int m_subCategory = 0;
};

// What a finding says of a password, in words.
QString FindingText(const vault::PasswordFinding& finding);
