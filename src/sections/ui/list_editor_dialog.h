#pragma once

#include <QDialog>
#include <QList>
#include <QStringList>

class Store;
class QBoxLayout;
class QListWidget;
class QListWidgetItem;
class QPushButton;

// The frame of the dialogs that edit one of the user's stored lists: the commands, Ctrl+Enter for cmdOK and Esc
// for leaving, and names refused when the stored list cannot hold them. The dialog works on its own controls until
// cmdOK writes the list; a failed write is told and leaves everything in the window.
class ListEditorDialog : public QDialog {
    Q_OBJECT
public:
    // True unless cmdOK wrote the list.
    bool cancelled() const { return m_cancelled; }

    QPushButton* cmdNew = nullptr;
    QPushButton* cmdDelete = nullptr;
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdEsc = nullptr;

protected:
    // Whether the stored list can hold a name, and what the person is told when it cannot.
    struct NameRule {
        bool (*fits)(const QString& name);
        QString (*refusal)();
    };

    ListEditorDialog(Store& store, const QString& name, NameRule rule, QWidget* parent);

    // Makes the commands on `parent` along `box`, in tab order: cmdNew, `second`, cmdDelete, then apart `more`, and
    // at the far end cmdOK and cmdEsc. Returns the buttons of `second` and `more`.
    QList<QPushButton*> makeCommands(QWidget* parent, QBoxLayout* box, const QString& second,
                                     const QStringList& more = {});

    void keyPressEvent(QKeyEvent* event) override;
    virtual void cmdNew_Click() = 0;
    virtual void cmdDelete_Click() = 0;
    // Writes the list; 0 or the engine's error number.
    virtual int save() = 0;
    // A dialog with an edit panel of its own takes the keys there while the panel is open.
    virtual void ctrlEnter() { cmdOK_Click(); }
    virtual void escape() { reject(); }

    void cmdOK_Click();
    // Refuses, with the reason, a name the stored list cannot hold.
    bool fitsList(const QString& name);
    // The name typed into an input box titled by message `title`; the null text when there is none to take.
    QString askName(int title, const QString& current);

    Store& m_store;

private:
    NameRule m_rule;
    bool m_cancelled = true;
};

// A list editor over names with their ids in CatList, with cmdRename. The section says where a new entry goes
// with which id, and what deleting one does besides.
class EntryListDialog : public ListEditorDialog {
    Q_OBJECT
public:
    // The id of the entry made last, 0 when none was made since the dialog was shown.
    int lastNewId() const { return m_lastNewId; }

    QListWidget* CatList = nullptr;
    QPushButton* cmdRename = nullptr;

protected:
    // Ids besides the built-in ones (below 1) whose entries are kept from renaming and from deleting.
    struct Kept {
        int fromRename = 0;
        int fromDelete = 0;
    };

    // `more` names the section's own commands, made below cmdDelete; they are in m_more.
    EntryListDialog(Store& store, const QString& name, NameRule rule, Kept kept, QWidget* parent,
                    const QStringList& more = {});

    void showEvent(QShowEvent* event) override;
    void cmdDelete_Click() override;
    // What deleting the entry `id` does besides taking it off the list, once the person has agreed.
    virtual void deleting(int id) = 0;
    // The entry the person has selected; the current one does not count once it is deselected.
    QListWidgetItem* selectedEntry() const;

    QList<QPushButton*> m_more;
    int m_lastNewId = 0;

private:
    void cmdRename_Click();

    Kept m_kept;
};
