#include "shell/ui/frm_menu_db.h"

#include "shell/ui/apply_captions.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

frmMenuDB::frmMenuDB(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmMenuDB"));
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    auto* prompt = new QLabel(this);
    prompt->setObjectName(QStringLiteral("lblPrompt"));
    layout->addWidget(prompt);
    auto add = [this, layout](const char* name) {
        auto* button = new QPushButton(this);
        button->setObjectName(QLatin1String(name));
        button->setMinimumHeight(32);
        layout->addWidget(button);
        return button;
    };
    QPushButton* cmdNewDB = add("cmdNewDB");
    QPushButton* cmdOldDB = add("cmdOldDB");
    QPushButton* cmdCancel = add("cmdCancel");
    connect(cmdNewDB, &QPushButton::clicked, this, [this] { done(NewDB); });
    connect(cmdOldDB, &QPushButton::clicked, this, [this] { done(OldDB); });
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    ApplyCaptions(this);
}
