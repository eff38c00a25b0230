#pragma once

#include "sections/vault/vault.h"
#include "shell/ui/editor_dialog.h"

#include <array>
#include <cstdint>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QToolButton;
class Store;
class StrengthMeter;

// Edits one vault record under its sub-category's labels and stores it on OK. Beside each password field a
// generator makes a strong value and a meter rates what stands there.
class frmEditConfidential : public EditorDialog {
    Q_OBJECT
public:
    // `plainPasswords`: the passwords show as the section shows them.
    frmEditConfidential(Store& store, const vault::Entry& entry, bool plainPasswords, QWidget* parent = nullptr);
    ~frmEditConfidential() override;

    // The key of the record OK stored; a new record left as it came has none.
    std::int32_t storedKey() const { return m_entry.key; }
    bool changed() const override { return m_dirty; }

    QLabel* lblCategory = nullptr;
    std::array<QLabel*, vault::kValueCount> lblTxt{};
    std::array<QLineEdit*, vault::kValueCount> txtCtl{};
    std::array<QToolButton*, vault::kValueCount> cmdGenerate{};
    std::array<StrengthMeter*, vault::kValueCount> lblStrength{};
    QCheckBox* ctlPrivate = nullptr;
    QLabel* lblNotes = nullptr;
    QPlainTextEdit* txtNotes = nullptr;

protected:
    // The dirty flag stands in for a comparison, so that no second copy of the secrets is kept.
    QVariantList values() const override { return {}; }
    bool accepted() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void generate(int field);

    Store& m_store;
    vault::Entry m_entry;
    QStringList m_labels;
    bool m_dirty = false;
};
