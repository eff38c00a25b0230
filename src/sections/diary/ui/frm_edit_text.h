#pragma once

#include "shell/ui/editor_dialog.h"

#include <functional>

class QLabel;
class QPlainTextEdit;

// A free text under a title line. OK stores the text through `store`; a store that fails keeps the dialog open
// with the text as typed.
class frmEditText : public EditorDialog {
    Q_OBJECT
public:
    using StoreText = std::function<Result(const QString& text)>;

    frmEditText(Prompter& prompter, const QString& title, const QString& text, StoreText store,
                QWidget* parent = nullptr);

    QString text() const;

    QLabel* lblTitle = nullptr;
    QPlainTextEdit* txtText = nullptr;

protected:
    QVariantList values() const override;
    bool accepted() override;

private:
    StoreText m_store;
};
