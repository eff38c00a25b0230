#include "shell/ui/frm_menu_db.h"

#include "shell/ui/apply_captions.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

frmMenuDB::frmMenuDB(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmMenuDB"));
    setWindowTitle(QStringLiteral("DB menu"));
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    auto* prompt = new QLabel(QStringLiteral("No database is open. What would you like to do?"), this);
    prompt->setObjectName(QStringLiteral("lblPrompt"));
    layout->addWidget(prompt);
    auto add = [this, layout](const char* name, const QString& text) {
        auto* button = new QPushButton(text, this);
        button->setObjectName(QLatin1String(name));
        button->setMinimumHeight(32);
        layout->addWidget(button);
        return button;
    };
    QPushButton* cmdNewDB = add("cmdNewDB", QStringLiteral("Create a &new database..."));
    QPushButton* cmdOldDB = add("cmdOldDB", QStringLiteral("&Open an existing database..."));
    QPushButton* cmdCancel = add("cmdCancel", QStringLiteral("Cancel"));
    connect(cmdNewDB, &QPushButton::clicked, this, [this] { done(NewDB); });
    connect(cmdOldDB, &QPushButton::clicked, this, [this] { done(OldDB); });
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    ApplyCaptions(this);
}
