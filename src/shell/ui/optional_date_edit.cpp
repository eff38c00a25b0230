#include "shell/ui/optional_date_edit.h"

#include "shell/dates.h"

#include <QCheckBox>
#include <QDateEdit>
#include <QHBoxLayout>
#include <QSignalBlocker>

OptionalDateEdit::OptionalDateEdit(QWidget* parent)
    : QWidget(parent)
    , hasDate(new QCheckBox(this))
    , edit(new QDateEdit(this)) {
    edit->setDisplayFormat(dates::ShortDateFormat());
    edit->setCalendarPopup(true);
    edit->setDate(QDate::currentDate());
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(hasDate);
    layout->addWidget(edit, 1);
    connect(hasDate, &QCheckBox::toggled, this, &OptionalDateEdit::changed);
    connect(edit, &QDateEdit::dateChanged, this, &OptionalDateEdit::changed);
    edit->setVisible(false);
}

QDate OptionalDateEdit::date() const {
    return hasDate->isChecked() ? edit->date() : QDate();
}

void OptionalDateEdit::setDate(const QDate& date) {
    const QSignalBlocker quietBox(hasDate);
    const QSignalBlocker quietEdit(edit);
    hasDate->setChecked(date.isValid());
    if (date.isValid()) {
        edit->setDate(date);
    }
    edit->setVisible(date.isValid());
    m_shown = date;
}

void OptionalDateEdit::changed() {
    const QDate before = m_shown;
    m_shown = date();
    edit->setVisible(hasDate->isChecked());
    Q_EMIT dateChanged(m_shown, before);
}
