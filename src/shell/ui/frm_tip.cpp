#include "shell/ui/frm_tip.h"

#include "shell/catalogue/tips.h"
#include "shell/settings.h"
#include "shell/ui/apply_captions.h"
#include "store/random_source.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

frmTip::frmTip(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmTip"));
    setModal(true);
    setMinimumWidth(460);
    lblTipSection = new QLabel(this);
    lblTipSection->setObjectName(QStringLiteral("lblTipSection"));
    QFont bold = lblTipSection->font();
    bold.setBold(true);
    lblTipSection->setFont(bold);
    lblTipText = new QLabel(this);
    lblTipText->setObjectName(QStringLiteral("lblTipText"));
    lblTipText->setWordWrap(true);
    lblTipText->setMinimumHeight(90);
    lblTipText->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    chkLoadTipsAtStartup = new QCheckBox(this);
    chkLoadTipsAtStartup->setObjectName(QStringLiteral("chkLoadTipsAtStartup"));
    auto* cmdNextTip = new QPushButton(this);
    cmdNextTip->setObjectName(QStringLiteral("cmdNextTip"));
    auto* cmdOK = new QPushButton(this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblTipSection);
    layout->addWidget(lblTipText);
    auto* row = new QHBoxLayout;
    row->addWidget(chkLoadTipsAtStartup);
    row->addStretch();
    row->addWidget(cmdNextTip);
    row->addWidget(cmdOK);
    layout->addLayout(row);

    connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(cmdNextTip, &QPushButton::clicked, this, [this] {
        if (!drawTip()) {
            accept();
        }
    });
    connect(chkLoadTipsAtStartup, &QCheckBox::toggled, this,
            [](bool on) { RegWriteDword(QStringLiteral("Startup\\ShowTipsAtStartup"), on ? 1 : 0); });
    ApplyCaptions(this);
    if (RegReadValue(QStringLiteral("Startup\\ShowTipsAtStartup")) == QLatin1String("0")) {
        return;
    }
    m_hasTip = drawTip();
    chkLoadTipsAtStartup->blockSignals(true);
    chkLoadTipsAtStartup->setChecked(true);
    chkLoadTipsAtStartup->blockSignals(false);
}

bool frmTip::drawTip() {
    const QString tip = NextTip(StrongRandom());
    if (tip.isEmpty()) {
        return false;
    }
    const auto [section, text] = SplitTip(tip);
    lblTipSection->setText(section);
    lblTipText->setText(text);
    return true;
}
