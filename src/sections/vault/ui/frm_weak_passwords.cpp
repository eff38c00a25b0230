#include "sections/vault/ui/frm_weak_passwords.h"

#include "shell/ui/apply_captions.h"
#include "shell/ui/named_control.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <cmath>

QString FindingText(const vault::PasswordFinding& finding) {
    QStringList said;
    if (finding.weak) {
        said << QObject::tr("weak (about 2^%1 guesses)").arg(static_cast<int>(std::floor(finding.bits)));
    }
    if (finding.sharedWith > 0) {
        said << (finding.sharedWith == 1 ? QObject::tr("also used by 1 other record")
                                         : QObject::tr("also used by %1 other records").arg(finding.sharedWith));
    }
    return said.join(QStringLiteral("; "));
}

frmWeakPasswords::frmWeakPasswords(const QVector<vault::PasswordFinding>& findings, QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmWeakPasswords"));
    lblSummary = Named<QLabel>(this, QStringLiteral("lblSummary"));
    lblSummary->setWordWrap(true);
    lblSummary->setText(findings.isEmpty()
                            ? tr("No weak or reused password was found among the records you can see.")
                            : tr("%n password(s) to change. The passwords themselves are not shown here.", nullptr,
                                 static_cast<int>(findings.size())));
    LV = Named<QTreeWidget>(this, QStringLiteral("LV"));
    LV->setRootIsDecorated(false);
    LV->setHeaderLabels({tr("Category"), tr("Record"), tr("Field"), tr("Finding")});
    for (const vault::PasswordFinding& finding : findings) {
        const vault::SubCategory* sub = vault::FindSubCategory(finding.subCategory);
        auto* item = new QTreeWidgetItem(LV, {sub != nullptr ? QLatin1String(sub->caption) : QString(), finding.title,
                                              finding.label, FindingText(finding)});
        item->setData(0, Qt::UserRole, finding.key);
        item->setData(1, Qt::UserRole, finding.subCategory);
    }
    LV->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    auto* buttons = new QDialogButtonBox(this);
    cmdGoto = buttons->addButton(QString(), QDialogButtonBox::AcceptRole);
    cmdGoto->setObjectName(QStringLiteral("cmdGoto"));
    cmdGoto->setEnabled(!findings.isEmpty());
    cmdClose = buttons->addButton(QString(), QDialogButtonBox::RejectRole);
    cmdClose->setObjectName(QStringLiteral("cmdClose"));
    connect(cmdGoto, &QPushButton::clicked, this, &frmWeakPasswords::cmdGoto_Click);
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::reject);
    connect(LV, &QTreeWidget::itemDoubleClicked, this, &frmWeakPasswords::cmdGoto_Click);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblSummary);
    layout->addWidget(LV, 1);
    layout->addWidget(buttons);
    if (LV->topLevelItemCount() > 0) {
        LV->setCurrentItem(LV->topLevelItem(0));
    }
    ApplyCaptions(this);
    resize(720, 420);
}

void frmWeakPasswords::cmdGoto_Click() {
    const QTreeWidgetItem* item = LV->currentItem();
    if (item == nullptr) {
        return;
    }
    m_key = item->data(0, Qt::UserRole).toInt();
    m_subCategory = item->data(1, Qt::UserRole).toInt();
    accept();
}
