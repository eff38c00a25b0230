#pragma once

#include "base/result.h"

#include <QDialog>
#include <QVariantList>

class Prompter;
class QPushButton;
class QVBoxLayout;

// The frame of every record editor: OK and Esc below the section's own controls, Ctrl+Enter for OK, Esc asking
// "Discard changes?" only when a control differs from what was loaded. The idle watch closes it without asking;
// whatever was typed is then dropped, as Esc would, since nothing may wait for a person who is away.
class EditorDialog : public QDialog {
    Q_OBJECT
public:
    EditorDialog(Prompter& prompter, QWidget* parent = nullptr);

    // True unless OK closed the dialog.
    bool cancelled() const { return m_cancelled; }
    // Whether the person changed anything since the load.
    virtual bool changed() const { return values() != m_loaded; }

    QPushButton* cmdOK = nullptr;
    QPushButton* cmdEsc = nullptr;

public Q_SLOTS:
    void reject() override;

protected:
    // Where the section puts its controls, above the buttons.
    QVBoxLayout* body() const { return m_body; }
    // The values of the controls, compared with those at the load.
    virtual QVariantList values() const = 0;
    // OK's own checks; false keeps the dialog open, having told the person why.
    virtual bool accepted() { return true; }
    // To be called once the controls hold the record.
    void markLoaded();
    // Tells the person that the record could not be stored; the dialog stays as it is.
    void reportFailure(const Result& result);
    // A text longer than a record holds is cut only when the person agrees; false keeps the dialog open.
    bool agreesToCut(const QString& what, const QString& text);

    Prompter& m_prompter;
    // OK: the section's checks and store, then the dialog closes.
    void cmdOK_Click();

private:
    QVBoxLayout* m_body = nullptr;
    QVariantList m_loaded;
    bool m_cancelled = true;
};
