#include "shell/ui/date_prompt.h"

#include <QCalendarWidget>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

DatePrompt::DatePrompt(const QString& title, const QDate& initial, QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmEnterDate"));
    setWindowTitle(title);
    ctlDate = new QCalendarWidget(this);
    ctlDate->setObjectName(QStringLiteral("ctlDate"));
    ctlDate->setSelectedDate(initial.isValid() ? initial : QDate::currentDate());
    cmdOK = new QPushButton(tr("OK"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdCancel = new QPushButton(tr("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(ctlDate, &QCalendarWidget::activated, this, &QDialog::accept);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(ctlDate);
    layout->addLayout(buttons);
}

QDate DatePrompt::date() const {
    return ctlDate->selectedDate();
}
