#pragma once

#include <QDate>
#include <QDialog>

class QCalendarWidget;
class QPushButton;

// Asks for one day on a month calendar.
class DatePrompt : public QDialog {
    Q_OBJECT
public:
    DatePrompt(const QString& title, const QDate& initial, QWidget* parent = nullptr);

    QDate date() const;

    QCalendarWidget* ctlDate = nullptr;
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdCancel = nullptr;
};
