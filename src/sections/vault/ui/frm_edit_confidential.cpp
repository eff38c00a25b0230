#include "sections/vault/ui/frm_edit_confidential.h"

#include "base/messages.h"
#include "sections/vault/ui/frm_generate.h"
#include "shell/catalogue/captions.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/modal.h"
#include "shell/ui/named_control.h"
#include "shell/ui/strength_meter.h"
#include "store/cry.h"
#include "store/store.h"

#include <QCheckBox>
#include <QDateTime>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QToolButton>

#include <algorithm>

frmEditConfidential::frmEditConfidential(Store& store, const vault::Entry& entry, bool plainPasswords, QWidget* parent)
    : EditorDialog(store.prompter, parent)
    , m_store(store)
    , m_entry(entry)
    , m_labels(vault::Labels(entry.subCategory)) {
    setObjectName(QStringLiteral("frmEditConfidential"));
    lblCategory = Named<QLabel>(this, QStringLiteral("lblCategory"));
    const vault::SubCategory* sub = vault::FindSubCategory(entry.subCategory);
    lblCategory->setText(MsgText(262) + QStringLiteral(":  ") +
                         (sub != nullptr ? QString::fromLatin1(sub->caption).toUpper() : QString()));
    auto* grid = new QGridLayout;
    int row = 0;
    for (int i = 0; i < vault::kValueCount; ++i) {
        const auto at = static_cast<std::size_t>(i);
        lblTxt[at] = Named<QLabel>(this, ArrayElementName("lblTxt", i));
        txtCtl[at] = Named<QLineEdit>(this, ArrayElementName("txtCtl", i));
        const bool used = i < m_labels.size();
        lblTxt[at]->setVisible(used);
        txtCtl[at]->setVisible(used);
        if (!used) {
            continue;
        }
        lblTxt[at]->setText(m_labels[i]);
        lblTxt[at]->setBuddy(txtCtl[at]);
        txtCtl[at]->setText(entry.values[at]);
        txtCtl[at]->installEventFilter(this);
        grid->addWidget(lblTxt[at], row, 0);
        grid->addWidget(txtCtl[at], row, 1);
        if (vault::IsPasswordLabel(m_labels[i])) {
            txtCtl[at]->setEchoMode(plainPasswords ? QLineEdit::Normal : QLineEdit::Password);
            cmdGenerate[at] = Named<QToolButton>(this, ArrayElementName("cmdGenerate", i));
            cmdGenerate[at]->setText(tr("Generate..."));
            cmdGenerate[at]->setToolTip(tr("Make a strong random value for this field"));
            connect(cmdGenerate[at], &QToolButton::clicked, this, [this, i] { generate(i); });
            grid->addWidget(cmdGenerate[at], row, 2);
            lblStrength[at] = new StrengthMeter(txtCtl[at], this);
            lblStrength[at]->setObjectName(ArrayElementName("lblStrength", i));
            grid->addWidget(lblStrength[at], ++row, 1, 1, 2);
        }
        ++row;
    }
    ctlPrivate = Named<QCheckBox>(this, QStringLiteral("ctlPrivate"));
    ctlPrivate->setChecked(entry.isPrivate);
    lblNotes = Named<QLabel>(this, QStringLiteral("lblNotes"));
    lblNotes->setText(vault::NotesLabel(entry.subCategory));
    txtNotes = Named<QPlainTextEdit>(this, QStringLiteral("txtNotes"));
    txtNotes->setPlainText(entry.notes);
    txtNotes->setTabChangesFocus(true);
    body()->addWidget(lblCategory);
    body()->addLayout(grid);
    body()->addWidget(ctlPrivate);
    body()->addWidget(lblNotes);
    body()->addWidget(txtNotes, 1);
    ApplyCaptions(this);

    for (QLineEdit* field : txtCtl) {
        connect(field, &QLineEdit::textEdited, this, [this] { m_dirty = true; });
    }
    connect(txtNotes, &QPlainTextEdit::textChanged, this, [this] { m_dirty = true; });
    connect(ctlPrivate, &QCheckBox::toggled, this, [this] { m_dirty = true; });
    markLoaded();
    resize(560, 460);
    txtCtl[0]->setFocus();
}

frmEditConfidential::~frmEditConfidential() {
    vault::Wipe(m_entry);
}

void frmEditConfidential::generate(int field) {
    const modal::Scoped<frmGenerate> dialog(this);
    if (dialog.exec() != QDialog::Accepted || dialog.get() == nullptr) {
        return;
    }
    QString value = dialog->takeValue();
    txtCtl[static_cast<std::size_t>(field)]->setText(value);
    CRY::WipeText(value);
    m_dirty = true;
}

bool frmEditConfidential::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool enter = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
        const int at = static_cast<int>(std::find(txtCtl.begin(), txtCtl.end(), watched) - txtCtl.begin());
        // Enter moves on as Tab does; the last field leads to the notes.
        if (enter && key->modifiers() == Qt::NoModifier && at < vault::kValueCount) {
            QWidget* next =
                at + 1 < m_labels.size() ? static_cast<QWidget*>(txtCtl[static_cast<std::size_t>(at + 1)]) : txtNotes;
            next->setFocus();
            return true;
        }
    }
    return EditorDialog::eventFilter(watched, event);
}

bool frmEditConfidential::accepted() {
    if (!m_dirty) {
        // Nothing to store: a new record left empty would be a row that no list can show.
        return true;
    }
    if (txtCtl[0]->text().isEmpty()) {
        m_prompter.message(362, MsgText(362) + QStringLiteral(": ") + m_labels.value(0), Prompter::Buttons::Ok,
                           Prompter::Icon::Warning);
        txtCtl[0]->setFocus();
        return false;
    }
    vault::Entry typed = m_entry;
    typed.owner = m_store.user.level;
    for (int i = 0; i < vault::kValueCount; ++i) {
        const auto at = static_cast<std::size_t>(i);
        typed.values[at] = i < m_labels.size() ? txtCtl[at]->text() : QString();
        if (!agreesToCut(m_labels.value(i), typed.values[at])) {
            vault::Wipe(typed);
            return false;
        }
    }
    typed.notes = txtNotes->toPlainText();
    typed.isPrivate = ctlPrivate->isChecked();
    if (!agreesToCut(lblNotes->text(), typed.notes)) {
        vault::Wipe(typed);
        return false;
    }
    const Result result = vault::StoreEntry(m_store, typed, QDateTime::currentDateTime());
    if (result.ok()) {
        m_entry.key = typed.key;
    }
    vault::Wipe(typed);
    if (!result.ok()) {
        reportFailure(result);
        return false;
    }
    return true;
}
