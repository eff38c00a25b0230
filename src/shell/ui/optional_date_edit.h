#pragma once

#include <QDate>
#include <QWidget>

class QCheckBox;
class QDateEdit;

// A date that may be absent: a box to tick and, while it is ticked, the date. Narrow without a date, so that an
// absent date is seen at a glance.
class OptionalDateEdit : public QWidget {
    Q_OBJECT
public:
    explicit OptionalDateEdit(QWidget* parent = nullptr);

    // Invalid while there is no date.
    QDate date() const;
    // An invalid date clears the box; no signal is sent.
    void setDate(const QDate& date);

    QCheckBox* const hasDate;
    QDateEdit* const edit;

Q_SIGNALS:
    // The person set, changed or cleared the date; `before` is what it was.
    void dateChanged(const QDate& date, const QDate& before);

private:
    void changed();

    QDate m_shown;
};
