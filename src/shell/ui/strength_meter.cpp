#include "shell/ui/strength_meter.h"

#include "base/password_strength.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>

#include <array>

namespace {

// Middle tones that stand out on light and dark windows alike.
constexpr std::array<QRgb, 5> kScoreColours = {0xc0392b, 0xd35400, 0xd4a017, 0x58a55c, 0x2e8b57};

} // namespace

StrengthMeter::StrengthMeter(QLineEdit* watched, QWidget* parent)
    : QWidget(parent) {
    pbrStrength = new QProgressBar(this);
    pbrStrength->setObjectName(QStringLiteral("pbrStrength"));
    pbrStrength->setRange(0, 5);
    pbrStrength->setTextVisible(false);
    pbrStrength->setMaximumHeight(fontMetrics().height() / 2 + 2);
    pbrStrength->setMaximumWidth(120);
    lblDescription = new QLabel(this);
    lblDescription->setObjectName(QStringLiteral("lblDescription"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(pbrStrength);
    layout->addWidget(lblDescription, 1);
    // The dialog keeps its size while the entry is empty.
    for (QWidget* part : {static_cast<QWidget*>(pbrStrength), static_cast<QWidget*>(lblDescription)}) {
        QSizePolicy policy = part->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        part->setSizePolicy(policy);
    }
    connect(watched, &QLineEdit::textChanged, this, &StrengthMeter::showEstimate);
    showEstimate(watched->text());
}

void StrengthMeter::showEstimate(const QString& text) {
    pbrStrength->setVisible(!text.isEmpty());
    lblDescription->setVisible(!text.isEmpty());
    if (text.isEmpty()) {
        pbrStrength->setValue(0);
        lblDescription->clear();
        return;
    }
    const password_strength::Estimate estimate = password_strength::Rate(text);
    // Even the weakest gets one step, so that the bar is seen at all.
    pbrStrength->setValue(estimate.score + 1);
    QPalette palette = pbrStrength->palette();
    palette.setColor(QPalette::Highlight, QColor(kScoreColours[static_cast<std::size_t>(estimate.score)]));
    pbrStrength->setPalette(palette);
    lblDescription->setText(password_strength::Describe(estimate));
}
