#pragma once

#include <QDialog>

class Store;
class QListWidget;
class QPushButton;

// The payment modes shared by all budgets. A deleted mode is taken off the transactions at once; the list itself
// is written by cmdOK.
class frmEditBudgetPaymode : public QDialog {
    Q_OBJECT
public:
    explicit frmEditBudgetPaymode(Store& store, QWidget* parent = nullptr);

    bool cancelled() const { return m_cancelled; }
    int lastNewId() const { return m_lastNewId; }

    QListWidget* CatList = nullptr;
    QPushButton* cmdNew = nullptr;
    QPushButton* cmdRename = nullptr;
    QPushButton* cmdDelete = nullptr;
    QPushButton* cmdMove[2] = {}; // up, down; object names cmdMove_0 and cmdMove_1
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdEsc = nullptr;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void cmdNew_Click();
    void cmdRename_Click();
    void cmdMove_Click(int direction);
    void cmdDelete_Click();
    void cmdOK_Click();
    // The name typed into an input box, or the null text when there is none to take.
    QString askName(int title, const QString& current);

    Store& m_store;
    bool m_cancelled = true;
    int m_lastNewId = 0;
};
