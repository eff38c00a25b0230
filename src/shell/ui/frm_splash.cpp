#include "shell/ui/frm_splash.h"

#include "program_version.h"
#include "shell/ui/apply_captions.h"

#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QVBoxLayout>

namespace {

QLabel* MakeLabel(const QString& name, const QString& text, QWidget* parent, qreal scale = 1.0, bool bold = false) {
    auto* label = new QLabel(text, parent);
    label->setObjectName(name);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * scale);
    font.setBold(bold);
    label->setFont(font);
    return label;
}

} // namespace

frmSplash::frmSplash(const QString& edition, QWidget* parent)
    : QWidget(parent) {
    setObjectName(QStringLiteral("frmSplash"));
    setWindowTitle(QStringLiteral("Noctaria"));
    setAutoFillBackground(true);

    auto* layout = new QVBoxLayout(this);
    layout->addStretch(2);
    layout->addWidget(MakeLabel(QStringLiteral("lblProduct"), QStringLiteral("Noctaria"), this, 3.0, true));
    layout->addWidget(MakeLabel(QStringLiteral("lblEdition"), edition.trimmed(), this, 1.2));
    layout->addWidget(MakeLabel(
        QStringLiteral("lblVersion"),
        QStringLiteral("Version %1.%2.%3").arg(nct::kVersionMajor).arg(nct::kVersionMinor).arg(nct::kVersionRevision),
        this));
    layout->addSpacing(24);
    lblFile = MakeLabel(QStringLiteral("lblFile"), QString(), this, 1.1, true);
    lblFolder = MakeLabel(QStringLiteral("lblFolder"), QString(), this);
    layout->addWidget(lblFile);
    layout->addWidget(lblFolder);
    layout->addStretch(3);
    lblStatus = MakeLabel(QStringLiteral("lblStatus"), QString(), this);
    layout->addWidget(lblStatus);
    ApplyCaptions(this);
    ShowDatabase(QString());
}

void frmSplash::ShowStatus(const QString& text) {
    lblStatus->setText(text);
}

void frmSplash::ShowDatabase(const QString& path) {
    if (path.isEmpty()) {
        lblFile->setText(QStringLiteral("No database open"));
        lblFolder->clear();
        return;
    }
    const QFileInfo info(path);
    lblFile->setText(info.fileName());
    lblFolder->setText(QDir::toNativeSeparators(info.absolutePath()));
}
