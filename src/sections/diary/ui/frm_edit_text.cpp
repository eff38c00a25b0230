#include "sections/diary/ui/frm_edit_text.h"

#include "shell/ui/apply_captions.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

frmEditText::frmEditText(Prompter& prompter, const QString& title, const QString& text, StoreText store,
                         QWidget* parent)
    : EditorDialog(prompter, parent)
    , m_store(std::move(store)) {
    setObjectName(QStringLiteral("frmEditText"));
    lblTitle = new QLabel(title, this);
    lblTitle->setObjectName(QStringLiteral("lblTitle"));
    QFont bold = lblTitle->font();
    bold.setBold(true);
    lblTitle->setFont(bold);
    txtText = new QPlainTextEdit(this);
    txtText->setObjectName(QStringLiteral("txtText"));
    txtText->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    txtText->setPlainText(text);
    body()->addWidget(lblTitle);
    body()->addWidget(txtText, 1);
    ApplyCaptions(this);
    setWindowTitle(title);
    markLoaded();
    resize(560, 420);
    txtText->moveCursor(QTextCursor::End);
    txtText->setFocus();
}

QString frmEditText::text() const {
    return txtText->toPlainText();
}

QVariantList frmEditText::values() const {
    return {txtText->toPlainText()};
}

bool frmEditText::accepted() {
    if (!agreesToCut(QStringLiteral("text"), txtText->toPlainText())) {
        return false;
    }
    const Result result = m_store(txtText->toPlainText());
    reportFailure(result);
    return result.ok();
}
