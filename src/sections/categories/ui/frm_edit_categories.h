#pragma once

#include <QDialog>

class Store;
class QListWidget;
class QPushButton;

// Edits the category list of one section (of one budget in the Budget section). Works on its list only; the
// store is written by cmdOK alone.
class frmEditCategories : public QDialog {
    Q_OBJECT
public:
    frmEditCategories(Store& store, int section, int budget, QWidget* parent = nullptr);

    bool cancelled() const { return m_cancelled; }
    // The id of the category made last, 0 when none was made.
    int lastNewId() const { return m_lastNewId; }
    bool categoryDeleted() const { return m_categoryDeleted; }

    QListWidget* CatList = nullptr;
    QPushButton* cmdNew = nullptr;
    QPushButton* cmdRename = nullptr;
    QPushButton* cmdDelete = nullptr;
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdEsc = nullptr;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void cmdNew_Click();
    void cmdRename_Click();
    void cmdDelete_Click();
    void cmdOK_Click();
    void cmdEsc_Click();
    // Refuses, with the reason, a name the stored list cannot hold.
    bool fitsList(const QString& name);

    Store& m_store;
    int m_section;
    int m_budget;
    bool m_cancelled = true;
    int m_lastNewId = 0;
    bool m_categoryDeleted = false;
};
