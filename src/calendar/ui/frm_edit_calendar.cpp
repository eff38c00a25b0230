#include "calendar/ui/frm_edit_calendar.h"

#include "base/messages.h"
#include "shell/catalogue/captions.h"
#include "shell/dates.h"
#include "shell/session.h"
#include "shell/show_result.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/modal.h"
#include "shell/ui/named_control.h"
#include "store/store.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScopedValueRollback>
#include <QSlider>
#include <QSpinBox>
#include <QTimer>
#include <QVBoxLayout>

#include <functional>

using namespace CALENDAR;

namespace {

QString TwoDigits(int value) {
    return QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0'));
}

QDateEdit* DateField(QWidget* parent, const QString& name) {
    auto* edit = Named<QDateEdit>(parent, name);
    edit->setDisplayFormat(dates::ShortDateFormat());
    edit->setCalendarPopup(true);
    edit->setDateRange(LowerLimitDate(), UpperLimitDate());
    return edit;
}

QLineEdit* DigitField(QWidget* parent, const QString& name, int digits) {
    auto* field = Named<QLineEdit>(parent, name);
    field->setMaxLength(digits);
    field->setAlignment(Qt::AlignCenter);
    field->setFixedWidth(field->fontMetrics().horizontalAdvance(QString(digits + 2, QLatin1Char('0'))) + 12);
    return field;
}

// Typing into a date changes it at every key, so what is typed counts once the field is left. A day picked from
// the calendar counts once the pop-up is done with it: it sets the date more than once on the way, and a question
// asked in between would close it.
void OnDateCommitted(QDateEdit* edit, QObject* context, const std::function<void(const QDate&)>& commit) {
    QObject::connect(edit, &QDateEdit::dateChanged, context, [edit, context, commit] {
        if (!edit->hasFocus()) {
            QTimer::singleShot(0, context, [edit, commit] { commit(edit->date()); });
        }
    });
    QObject::connect(edit, &QDateEdit::editingFinished, context, [edit, commit] { commit(edit->date()); });
}

void SetText(QLineEdit* field, const QString& text, const QWidget* typing) {
    if (field != typing && field->text() != text) {
        field->setText(text);
    }
}

} // namespace

frmEditCalendar::frmEditCalendar(Store& store, const Appointment& appointment, int firstDay, QWidget* parent)
    : EditorDialog(store.prompter, parent)
    , m_store(store)
    , m_appointment(appointment)
    , m_span{appointment.start, appointment.end} {
    setObjectName(QStringLiteral("frmEditCalendar"));
    setWindowTitle(QStringLiteral("Appointment"));
    m_redo.FirstDay = firstDay;
    m_redo.RedoStart = DayOfMinute(appointment.start);
    m_redo.RedoEndDate = m_redo.RedoStart;
    if (!appointment.redo.isEmpty()) {
        ParseRedoString(appointment.redo, m_redo);
    }
    m_refreshing = true;

    auto* details = new QGroupBox(QStringLiteral("Appointment"), this);
    details->setObjectName(QStringLiteral("fraAppointment"));
    ctlSubject = Named<QLineEdit>(details, QStringLiteral("ctlSubject"));
    ctlLocation = Named<QLineEdit>(details, QStringLiteral("ctlLocation"));
    ctlNotes = Named<QPlainTextEdit>(details, QStringLiteral("ctlNotes"));
    ctlNotes->setTabChangesFocus(true);
    ctlDate = DateField(details, QStringLiteral("ctlDate"));
    ctlAllday = Named<QCheckBox>(details, QStringLiteral("ctlAllday"));
    ctlAllday->setText(QStringLiteral("All day"));
    ctlAlarmYN = Named<QCheckBox>(details, QStringLiteral("ctlAlarmYN"));
    ctlAlarmYN->setText(QStringLiteral("Alarm"));
    ctlAlarmDelay = Named<QComboBox>(details, QStringLiteral("ctlAlarmDelay"));
    ctlPrivate = Named<QCheckBox>(details, QStringLiteral("ctlPrivate"));
    ctlPrivate->setText(QStringLiteral("Private"));
    buildTimes(details);

    const auto label = [](QWidget* parent, const char* name, const QString& text) {
        auto* l = Named<QLabel>(parent, QLatin1String(name));
        l->setText(text);
        return l;
    };
    auto* date = new QHBoxLayout;
    date->addWidget(ctlDate);
    date->addSpacing(12);
    date->addWidget(ctlAllday);
    date->addStretch();
    auto* alarm = new QHBoxLayout;
    alarm->addWidget(ctlAlarmYN);
    alarm->addWidget(ctlAlarmDelay, 1);
    alarm->addSpacing(12);
    alarm->addWidget(ctlPrivate);
    auto* form = new QFormLayout;
    form->addRow(label(details, "lblSubject", QStringLiteral("Subject:")), ctlSubject);
    form->addRow(label(details, "lblLocation", QStringLiteral("Location:")), ctlLocation);
    form->addRow(label(details, "lblDate", QStringLiteral("Date:")), date);
    form->addRow(TimeFrame);
    form->addRow(label(details, "lblAlarm", QStringLiteral("Reminder:")), alarm);
    auto* detailsLayout = new QVBoxLayout(details);
    detailsLayout->addLayout(form);
    detailsLayout->addWidget(label(details, "lblNotes", QStringLiteral("Notes:")));
    detailsLayout->addWidget(ctlNotes, 1);

    buildRecurrence();
    auto* columns = new QHBoxLayout;
    columns->addWidget(details, 1);
    columns->addWidget(fraRedo, 1);
    body()->addLayout(columns);
    cmdOK->setText(QStringLiteral("OK"));
    cmdEsc->setText(QStringLiteral("Esc"));
    ApplyCaptions(this);

    ctlSubject->setText(appointment.subject);
    ctlLocation->setText(appointment.location);
    ctlNotes->setPlainText(appointment.notes);
    ctlPrivate->setChecked(appointment.isPrivate);
    ctlAllday->setChecked(appointment.allDay);
    ctlAlarmYN->setChecked(appointment.alarmOn);
    fillAlarmList();
    if (const int row = ctlAlarmDelay->findData(appointment.alarmDelay); row >= 0) {
        ctlAlarmDelay->setCurrentIndex(row);
    }

    // A field left shows its value as the editor holds it: two digits, minutes cut to five.
    const auto tidy = [this] {
        if (!busy()) {
            refresh();
        }
    };
    OnDateCommitted(ctlDate, this, [this](const QDate& d) { ctlDate_Change(d); });
    OnDateCommitted(ctlDateEnd, this, [this](const QDate& d) { ctlDateEnd_Change(d); });
    OnDateCommitted(ctlDateStartRedo, this, [this](const QDate& d) { ctlDateStartRedo_Change(d); });
    OnDateCommitted(ctlDateEndRedo, this, [this](const QDate& d) { ctlDateEndRedo_Change(d); });
    for (int i = 0; i < 2; ++i) {
        for (QLineEdit* field : {ctlHH[static_cast<std::size_t>(i)], ctlNN[static_cast<std::size_t>(i)]}) {
            connect(field, &QLineEdit::textEdited, this, [this, i, field] { timeField_Change(i, field); });
            connect(field, &QLineEdit::editingFinished, this, tidy);
        }
    }
    connect(SliderHH, &QSlider::valueChanged, this, &frmEditCalendar::slider_Change);
    connect(SliderNN, &QSlider::valueChanged, this, &frmEditCalendar::slider_Change);
    connect(ctlAllday, &QCheckBox::toggled, this, &frmEditCalendar::ctlAllday_Click);
    connect(ctlAlarmYN, &QCheckBox::toggled, this, tidy);
    for (int i = 0; i < 5; ++i) {
        connect(Redo[static_cast<std::size_t>(i)], &QRadioButton::toggled, this, [this, i](bool on) {
            if (on) {
                Redo_Click(i);
            }
        });
    }
    for (int i = 0; i < 2; ++i) {
        connect(RedoAlt[static_cast<std::size_t>(i)], &QRadioButton::toggled, this, [this, i](bool on) {
            if (on) {
                RedoAlt_Click(i);
            }
        });
    }
    for (int i = 0; i < 7; ++i) {
        connect(RedoWD[static_cast<std::size_t>(i)], &QCheckBox::toggled, this,
                [this, i](bool on) { RedoWD_Click(i, on); });
    }
    for (const auto& [combo, value] :
         {std::pair{cboRedoWhen, &RedoValues::RedoWhen}, std::pair{cboRedoWeekday, &RedoValues::RedoWeekday},
          std::pair{cboRedoMonth, &RedoValues::RedoMonth}}) {
        connect(combo, &QComboBox::currentIndexChanged, this, [this, value](int index) {
            if (!busy() && index >= 0) {
                m_redo.*value = index;
                recalc();
            }
        });
    }
    for (const auto& [field, value] :
         {std::pair{ctlIntervalA, &RedoValues::IntervalA}, std::pair{ctlIntervalB, &RedoValues::IntervalB}}) {
        field->installEventFilter(this);
        connect(field, &QLineEdit::textEdited, this, [this, field, value] { interval_Change(field, m_redo.*value); });
        connect(field, &QLineEdit::editingFinished, this, tidy);
    }
    for (int i = 0; i < 3; ++i) {
        connect(RedoEnd[static_cast<std::size_t>(i)], &QRadioButton::toggled, this, [this, i](bool on) {
            if (on) {
                RedoEnd_Click(i);
            }
        });
    }
    connect(occ, &QSpinBox::valueChanged, this, [this](int n) {
        if (!busy()) {
            m_redo.Occurrences = n;
            recalc();
        }
    });

    m_refreshing = false;
    refresh();
    markLoaded();
    resize(900, 560);
    ctlSubject->setFocus();
}

void frmEditCalendar::buildTimes(QWidget* parent) {
    TimeFrame = Named<QWidget>(parent, QStringLiteral("TimeFrame"));
    ctlDateEnd = DateField(TimeFrame, QStringLiteral("ctlDateEnd"));
    for (int i = 0; i < 2; ++i) {
        ctlHH[static_cast<std::size_t>(i)] = DigitField(TimeFrame, ArrayElementName("ctlHH", i), 2);
        ctlNN[static_cast<std::size_t>(i)] = DigitField(TimeFrame, ArrayElementName("ctlNN", i), 2);
        for (QLineEdit* field : {ctlHH[static_cast<std::size_t>(i)], ctlNN[static_cast<std::size_t>(i)]}) {
            field->setValidator(new QIntValidator(0, 99, field));
        }
    }
    SliderHH = Named<QSlider>(TimeFrame, QStringLiteral("SliderHH"));
    SliderHH->setRange(0, 24);
    SliderHH->setPageStep(1);
    SliderNN = Named<QSlider>(TimeFrame, QStringLiteral("SliderNN"));
    SliderNN->setRange(0, 11);
    SliderNN->setPageStep(1);
    for (QSlider* slider : {SliderHH, SliderNN}) {
        slider->setOrientation(Qt::Horizontal);
        slider->setTickPosition(QSlider::TicksBelow);
    }
    SliderHH->setTickInterval(6);
    SliderNN->setTickInterval(3);
    lblDuration = Named<QLabel>(TimeFrame, QStringLiteral("lblDuration"));
    lblDuration->setMinimumWidth(lblDuration->fontMetrics().horizontalAdvance(QStringLiteral("24 h 55 min")));

    const auto text = [this](const char* name, const QString& words) {
        auto* l = Named<QLabel>(TimeFrame, QLatin1String(name));
        l->setText(words);
        return l;
    };
    const auto time = [this](int i) {
        auto* row = new QHBoxLayout;
        row->setSpacing(2);
        row->addWidget(ctlHH[static_cast<std::size_t>(i)]);
        row->addWidget(new QLabel(QStringLiteral(":"), TimeFrame));
        row->addWidget(ctlNN[static_cast<std::size_t>(i)]);
        return row;
    };
    auto* grid = new QGridLayout(TimeFrame);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->addWidget(text("lblStart", QStringLiteral("Starts:")), 0, 0);
    grid->addLayout(time(0), 0, 1);
    grid->addWidget(text("lblEnd", QStringLiteral("Ends:")), 1, 0);
    grid->addLayout(time(1), 1, 1);
    grid->addWidget(ctlDateEnd, 1, 2);
    grid->addWidget(text("lblLength", QStringLiteral("Duration:")), 2, 0);
    auto* sliders = new QHBoxLayout;
    sliders->addWidget(text("lblHours", QStringLiteral("h")));
    sliders->addWidget(SliderHH, 3);
    sliders->addWidget(text("lblMinutes", QStringLiteral("min")));
    sliders->addWidget(SliderNN, 2);
    sliders->addWidget(lblDuration);
    grid->addLayout(sliders, 2, 1, 1, 3);
    grid->setColumnStretch(3, 1);
}

void frmEditCalendar::buildRecurrence() {
    fraRedo = Named<QGroupBox>(this, QStringLiteral("fraRedo"));
    fraRedo->setTitle(QStringLiteral("Recurrence"));
    static const char* const kChoices[] = {"None", "Weekly", "Daily", "Monthly", "Yearly"};
    auto* choices = new QHBoxLayout;
    for (int i = 0; i < 5; ++i) {
        Redo[static_cast<std::size_t>(i)] = Named<QRadioButton>(fraRedo, ArrayElementName("Redo", i));
        Redo[static_cast<std::size_t>(i)]->setText(QLatin1String(kChoices[i]));
        choices->addWidget(Redo[static_cast<std::size_t>(i)]);
    }
    choices->addStretch();

    fraRedoPattern = Named<QWidget>(fraRedo, QStringLiteral("fraRedoPattern"));
    for (int i = 0; i < 2; ++i) {
        RedoAlt[static_cast<std::size_t>(i)] = Named<QRadioButton>(fraRedoPattern, ArrayElementName("RedoAlt", i));
    }
    lblRedoEvery = Named<QLabel>(fraRedoPattern, QStringLiteral("lblRedoEvery"));
    lblRedoEvery->setText(QStringLiteral("every "));
    ctlIntervalA = DigitField(fraRedoPattern, QStringLiteral("ctlIntervalA"), 3);
    lblRedoUnitA = Named<QLabel>(fraRedoPattern, QStringLiteral("lblRedoUnitA"));
    cboRedoWhen = Named<QComboBox>(fraRedoPattern, QStringLiteral("cboRedoWhen"));
    for (int n = 284; n <= 288; ++n) {
        cboRedoWhen->addItem(MsgText(n));
    }
    cboRedoWeekday = Named<QComboBox>(fraRedoPattern, QStringLiteral("cboRedoWeekday"));
    auto* weekdays = new QHBoxLayout;
    weekdays->setSpacing(4);
    for (int i = 0; i < 7; ++i) {
        const int sunday = FirstDayToSunday(i + 1, m_redo.FirstDay);
        const auto day = static_cast<Qt::DayOfWeek>(sunday == 1 ? 7 : sunday - 1);
        cboRedoWeekday->addItem(QLocale().dayName(day));
        RedoWD[static_cast<std::size_t>(i)] = Named<QCheckBox>(fraRedoPattern, ArrayElementName("RedoWD", i));
        RedoWD[static_cast<std::size_t>(i)]->setText(QLocale().dayName(day, QLocale::ShortFormat));
        weekdays->addWidget(RedoWD[static_cast<std::size_t>(i)]);
    }
    weekdays->addStretch();
    lblRedoOf = Named<QLabel>(fraRedoPattern, QStringLiteral("lblRedoOf"));
    ctlIntervalB = DigitField(fraRedoPattern, QStringLiteral("ctlIntervalB"), 3);
    cboRedoMonth = Named<QComboBox>(fraRedoPattern, QStringLiteral("cboRedoMonth"));
    for (int month = 1; month <= 12; ++month) {
        cboRedoMonth->addItem(QLocale().monthName(month));
    }
    lblRedoUnitB = Named<QLabel>(fraRedoPattern, QStringLiteral("lblRedoUnitB"));
    lblRedoUnitB->setText(QStringLiteral("month/s"));

    auto* first = new QHBoxLayout;
    first->addWidget(RedoAlt[0]);
    first->addWidget(lblRedoEvery);
    first->addWidget(ctlIntervalA);
    first->addWidget(lblRedoUnitA);
    first->addStretch();
    auto* second = new QHBoxLayout;
    second->addWidget(RedoAlt[1]);
    second->addWidget(cboRedoWhen);
    second->addWidget(cboRedoWeekday);
    second->addStretch();
    // The second rule's period goes below it, under its words, so that the group keeps its width.
    auto* period = new QHBoxLayout;
    period->addSpacing(RedoAlt[1]->sizeHint().height() + 4);
    period->addWidget(lblRedoOf);
    period->addWidget(ctlIntervalB);
    period->addWidget(cboRedoMonth);
    period->addWidget(lblRedoUnitB);
    period->addStretch();
    auto* pattern = new QVBoxLayout(fraRedoPattern);
    pattern->setContentsMargins(0, 4, 0, 4);
    pattern->addLayout(first);
    pattern->addLayout(weekdays);
    pattern->addLayout(second);
    pattern->addLayout(period);

    fraRedoRange = Named<QWidget>(fraRedo, QStringLiteral("fraRedoRange"));
    ctlDateStartRedo = DateField(fraRedoRange, QStringLiteral("ctlDateStartRedo"));
    ctlDateEndRedo = DateField(fraRedoRange, QStringLiteral("ctlDateEndRedo"));
    static const char* const kEnds[] = {"no end date", "after", "end date"};
    for (int i = 0; i < 3; ++i) {
        RedoEnd[static_cast<std::size_t>(i)] = Named<QRadioButton>(fraRedoRange, ArrayElementName("RedoEnd", i));
        RedoEnd[static_cast<std::size_t>(i)]->setText(QLatin1String(kEnds[i]));
    }
    occ = Named<QSpinBox>(fraRedoRange, QStringLiteral("occ"));
    occ->setRange(1, 9999);
    // A count typed digit by digit would move the end date at every digit.
    occ->setKeyboardTracking(false);
    auto* range = new QGridLayout(fraRedoRange);
    range->setContentsMargins(0, 0, 0, 0);
    auto* startLabel = Named<QLabel>(fraRedoRange, QStringLiteral("lblRedoStart"));
    startLabel->setText(QStringLiteral("Start:"));
    range->addWidget(startLabel, 0, 0);
    range->addWidget(ctlDateStartRedo, 0, 1);
    range->addWidget(RedoEnd[0], 1, 0, 1, 2);
    range->addWidget(RedoEnd[1], 2, 0);
    auto* count = new QHBoxLayout;
    count->addWidget(occ);
    auto* times = Named<QLabel>(fraRedoRange, QStringLiteral("lblOcc"));
    times->setText(QStringLiteral("occurrencies"));
    count->addWidget(times);
    count->addStretch();
    range->addLayout(count, 2, 1);
    range->addWidget(RedoEnd[2], 3, 0);
    range->addWidget(ctlDateEndRedo, 3, 1);
    range->setColumnStretch(2, 1);

    lblSumup = Named<QLabel>(fraRedo, QStringLiteral("lblSumup"));
    lblSumup->setWordWrap(true);
    lblSumup->setFrameShape(QFrame::StyledPanel);
    lblSumup->setMargin(6);
    lblSumup->setMinimumHeight(lblSumup->fontMetrics().lineSpacing() * 3 + 12);
    lblSumup->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    auto* layout = new QVBoxLayout(fraRedo);
    layout->addLayout(choices);
    layout->addWidget(fraRedoPattern);
    layout->addWidget(fraRedoRange);
    layout->addStretch();
    layout->addWidget(lblSumup);
}

std::optional<Appointment> frmEditCalendar::Edit(Session& session, std::int32_t key, const QDateTime& at, bool fromView,
                                                 bool allDay, QWidget* parent) {
    Store& store = session.store();
    Result result;
    const std::optional<Appointment> appointment =
        AppointmentToEdit(store, key, NewAppointment(store.user.level, at, fromView, allDay), &result);
    if (!appointment) {
        ShowResult(store.prompter, result);
        return std::nullopt;
    }
    const modal::Scoped<frmEditCalendar> dialog(store, *appointment, SystemFirstDay(), parent);
    dialog.exec();
    if (dialog.get() == nullptr || !dialog->stored()) {
        return std::nullopt;
    }
    return dialog->appointment();
}

void frmEditCalendar::fillAlarmList() {
    const QVariant chosen = ctlAlarmDelay->currentData();
    ctlAlarmDelay->clear();
    for (const AlarmChoice& choice : AlarmChoices(ctlAllday->isChecked())) {
        ctlAlarmDelay->addItem(QLatin1String(choice.text), choice.minutes);
    }
    ctlAlarmDelay->setCurrentIndex(std::max(0, ctlAlarmDelay->findData(chosen)));
}

void frmEditCalendar::refresh(const QWidget* typing) {
    m_refreshing = true;
    const FieldTime start = StartFields(m_span.start);
    const FieldTime end = EndFields(m_span);
    ctlDate->setDate(start.day);
    ctlDateEnd->setDate(end.day);
    SetText(ctlHH[0], TwoDigits(start.hours), typing);
    SetText(ctlNN[0], TwoDigits(start.minutes), typing);
    SetText(ctlHH[1], TwoDigits(end.hours), typing);
    SetText(ctlNN[1], TwoDigits(end.minutes), typing);
    const auto [hours, fives] = SlidersFromDuration(m_span);
    SliderHH->setValue(hours);
    SliderNN->setValue(fives);
    lblDuration->setText(QStringLiteral("%1 h %2 min").arg(hours).arg(fives * 5));
    TimeFrame->setVisible(!ctlAllday->isChecked());
    ctlAlarmDelay->setEnabled(ctlAlarmYN->isChecked());

    const int redo = m_redo.Redo;
    const int alt = m_redo.RedoAlt;
    Redo[static_cast<std::size_t>(redo)]->setChecked(true);
    RedoAlt[static_cast<std::size_t>(alt)]->setChecked(true);
    const QDate first = m_redo.RedoStart;
    const bool weekly = redo == RedoChoiceWeekly;
    const bool daily = redo == RedoChoiceDaily;
    const bool monthly = redo == RedoChoiceMonthly;
    const bool yearly = redo == RedoChoiceYearly;
    lblRedoEvery->setVisible(weekly);
    RedoAlt[0]->setVisible(daily || monthly || yearly);
    RedoAlt[1]->setVisible(daily || monthly || yearly);
    if (daily) {
        RedoAlt[0]->setText(QStringLiteral("every "));
        RedoAlt[1]->setText(QStringLiteral("every workday"));
    } else if (monthly) {
        RedoAlt[0]->setText(QStringLiteral("%1 %2, every ").arg(MsgText(279)).arg(first.day()));
        RedoAlt[1]->setText(QStringLiteral("the"));
    } else if (yearly) {
        RedoAlt[0]->setText(
            QStringLiteral("%1 %2 in %3").arg(MsgText(279)).arg(first.day()).arg(QLocale().monthName(first.month())));
        RedoAlt[1]->setText(QStringLiteral("the"));
    }
    ctlIntervalA->setVisible(weekly || daily || monthly);
    lblRedoUnitA->setVisible(weekly || daily || monthly);
    lblRedoUnitA->setText(weekly ? QStringLiteral(" week on:") : daily ? MsgText(283) : QStringLiteral("month/s"));
    for (QCheckBox* box : RedoWD) {
        box->setVisible(weekly);
    }
    for (QWidget* w : {static_cast<QWidget*>(cboRedoWhen), static_cast<QWidget*>(cboRedoWeekday),
                       static_cast<QWidget*>(lblRedoOf)}) {
        w->setVisible(monthly || yearly);
    }
    lblRedoOf->setText(monthly ? QStringLiteral("every ") : QStringLiteral("in"));
    ctlIntervalB->setVisible(monthly);
    lblRedoUnitB->setVisible(monthly);
    cboRedoMonth->setVisible(yearly);
    const bool firstRule = weekly || alt == 0;
    for (QWidget* w : {static_cast<QWidget*>(lblRedoEvery), static_cast<QWidget*>(ctlIntervalA),
                       static_cast<QWidget*>(lblRedoUnitA)}) {
        w->setEnabled(firstRule);
    }
    for (QWidget* w : {static_cast<QWidget*>(cboRedoWhen), static_cast<QWidget*>(cboRedoWeekday),
                       static_cast<QWidget*>(lblRedoOf), static_cast<QWidget*>(ctlIntervalB),
                       static_cast<QWidget*>(cboRedoMonth), static_cast<QWidget*>(lblRedoUnitB)}) {
        w->setEnabled(!firstRule);
    }
    SetText(ctlIntervalA, QString::number(m_redo.IntervalA), typing);
    SetText(ctlIntervalB, QString::number(m_redo.IntervalB), typing);
    for (std::size_t i = 0; i < 7; ++i) {
        RedoWD[i]->setChecked(m_redo.WeekdayFlags[i]);
    }
    cboRedoWhen->setCurrentIndex(m_redo.RedoWhen);
    cboRedoWeekday->setCurrentIndex(m_redo.RedoWeekday);
    cboRedoMonth->setCurrentIndex(m_redo.RedoMonth);

    fraRedoPattern->setVisible(redo != RedoChoiceNone);
    fraRedoRange->setEnabled(redo != RedoChoiceNone);
    RedoEnd[static_cast<std::size_t>(m_redo.EndMode)]->setChecked(true);
    occ->setValue(m_redo.Occurrences);
    occ->setEnabled(m_redo.EndMode == AfterOccurrences);
    ctlDateStartRedo->setDate(first);
    ctlDateEndRedo->setDate(m_redo.RedoEndDate);
    ctlDateEndRedo->setEnabled(m_redo.EndMode == OnEndDate);
    lblSumup->setText(redo == RedoChoiceNone ? QStringLiteral("Once, on %1").arg(dates::ShortDate(start.day))
                                             : RecurrenceInWords(m_redo));
    m_refreshing = false;
}

void frmEditCalendar::recalc(const QWidget* typing) {
    {
        const QScopedValueRollback asking(m_asking, true);
        RecalcRedoEnd(m_redo, &m_prompter);
    }
    if (m_redo.kind() != RedoNone) {
        m_span = MovedStart(m_span, MinuteOf(m_redo.RedoStart, MinuteOfDay(m_span.start)));
    }
    refresh(typing);
}

void frmEditCalendar::setStart(std::int64_t start) {
    const QDate before = DayOfMinute(m_span.start);
    m_span = MovedStart(m_span, start);
    if (m_redo.kind() != RedoNone && DayOfMinute(start) != before) {
        m_redo.RedoStart = DayOfMinute(start);
        recalc();
    }
}

void frmEditCalendar::ctlDate_Change(const QDate& date) {
    if (busy() || date == DayOfMinute(m_span.start)) {
        return;
    }
    setStart(MinuteOf(date, MinuteOfDay(m_span.start)));
    refresh();
}

void frmEditCalendar::timeField_Change(int index, QLineEdit* field) {
    if (busy()) {
        return;
    }
    const bool hours = field == ctlHH[static_cast<std::size_t>(index)];
    const int typed = field->text().toInt();
    const int kept = hours ? ClampHourField(typed, index) : ClampMinuteField(typed);
    if (kept != typed) {
        field->setText(TwoDigits(kept));
    }
    const std::size_t i = static_cast<std::size_t>(index);
    const int hh = ClampHourField(ctlHH[i]->text().toInt(), index);
    const int nn = ClampMinuteField(ctlNN[i]->text().toInt());
    if (index == 0) {
        setStart(TypedMinute(ctlDate->date(), hh, nn));
    } else {
        m_span = MovedEnd(m_span, TypedMinute(ctlDateEnd->date(), hh, nn));
    }
    refresh(field);
}

void frmEditCalendar::ctlDateEnd_Change(const QDate& date) {
    if (busy() || date == EndFields(m_span).day) {
        return;
    }
    m_span = MovedEnd(m_span, TypedMinute(date, ctlHH[1]->text().toInt(), ctlNN[1]->text().toInt()));
    refresh();
}

void frmEditCalendar::slider_Change() {
    if (busy()) {
        return;
    }
    m_span = WithDuration(m_span, DurationFromSliders(SliderHH->value(), SliderNN->value()));
    refresh();
}

void frmEditCalendar::ctlAllday_Click(bool checked) {
    if (busy()) {
        return;
    }
    if (checked) {
        m_timedBefore = m_span;
        m_span = AllDaySpan(m_span.start);
    } else {
        m_span = TimedSpan(DayOfMinute(m_span.start), m_timedBefore);
    }
    fillAlarmList();
    refresh();
}

void frmEditCalendar::Redo_Click(int index) {
    if (busy()) {
        return;
    }
    m_redo.Redo = index;
    // A new choice starts from its first rule.
    RedoAlt_Click(0);
}

void frmEditCalendar::RedoAlt_Click(int index) {
    if (busy()) {
        return;
    }
    m_redo.RedoAlt = index;
    {
        const QScopedValueRollback asking(m_asking, true);
        ChangeRecurrence(m_redo, DayOfMinute(m_span.start), &m_prompter);
    }
    recalc();
}

void frmEditCalendar::RedoWD_Click(int index, bool checked) {
    if (busy()) {
        return;
    }
    const auto i = static_cast<std::size_t>(index);
    m_redo.WeekdayFlags[i] = checked;
    if (m_redo.weekdayMask() == 0) {
        const QScopedValueRollback asking(m_asking, true);
        m_prompter.message(10, MsgText(10), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        m_redo.WeekdayFlags[i] = true;
        refresh();
        return;
    }
    recalc();
}

void frmEditCalendar::interval_Change(QLineEdit* field, int& value) {
    if (busy()) {
        return;
    }
    if (const int message = IntervalMessage(field->text()); message != 0) {
        const QScopedValueRollback asking(m_asking, true);
        m_prompter.message(message, MsgText(message), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        field->setText(message == 13 ? QStringLiteral("1") : QString::number(value));
    }
    if (field->text().isEmpty()) {
        return;
    }
    value = field->text().toInt();
    recalc(field);
}

void frmEditCalendar::RedoEnd_Click(int index) {
    if (busy()) {
        return;
    }
    m_redo.EndMode = index;
    recalc();
}

void frmEditCalendar::ctlDateStartRedo_Change(const QDate& date) {
    if (busy() || date == m_redo.RedoStart) {
        return;
    }
    m_redo.RedoStart = date;
    recalc();
}

void frmEditCalendar::ctlDateEndRedo_Change(const QDate& date) {
    if (busy() || date == m_redo.RedoEndDate) {
        return;
    }
    m_redo.RedoEndDate = date;
    recalc();
}

bool frmEditCalendar::eventFilter(QObject* watched, QEvent* event) {
    if ((watched == ctlIntervalA || watched == ctlIntervalB) && event->type() == QEvent::KeyPress) {
        const QString text = static_cast<QKeyEvent*>(event)->text();
        if (!text.isEmpty() && text.at(0).isPrint() && IntervalMessage(text) == 12) {
            const QScopedValueRollback asking(m_asking, true);
            m_prompter.message(12, MsgText(12), Prompter::Buttons::Ok, Prompter::Icon::Warning);
            return true;
        }
    }
    return EditorDialog::eventFilter(watched, event);
}

QVariantList frmEditCalendar::values() const {
    return {ctlSubject->text(),
            ctlLocation->text(),
            ctlNotes->toPlainText(),
            ctlPrivate->isChecked(),
            static_cast<qint64>(m_span.start),
            static_cast<qint64>(m_span.end),
            ctlAllday->isChecked(),
            ctlAlarmYN->isChecked(),
            ctlAlarmDelay->currentData(),
            BuildRedoString(m_redo)};
}

bool frmEditCalendar::accepted() {
    // OK by its shortcut leaves the date being typed uncommitted; what stands in it is what is meant.
    if (auto* typing = qobject_cast<QDateEdit*>(focusWidget()); typing != nullptr) {
        Q_EMIT typing->editingFinished();
    }
    const QScopedValueRollback asking(m_asking, true);
    Appointment typed = m_appointment;
    typed.owner = m_store.user.level;
    typed.subject = ctlSubject->text();
    typed.location = ctlLocation->text();
    typed.notes = ctlNotes->toPlainText();
    typed.isPrivate = ctlPrivate->isChecked();
    typed.start = m_span.start;
    typed.end = m_span.end;
    typed.allDay = ctlAllday->isChecked();
    typed.alarmOn = ctlAlarmYN->isChecked();
    typed.alarmDelay = ctlAlarmDelay->currentData().toInt();
    if (!agreesToCut(QStringLiteral("subject"), typed.subject) ||
        !agreesToCut(QStringLiteral("location"), typed.location) ||
        !agreesToCut(QStringLiteral("notes"), typed.notes)) {
        return false;
    }
    OkOutcome ok = AcceptAppointment(m_appointment, typed, m_redo, m_prompter);
    if (ok.stays) {
        if (typed.subject.isEmpty()) {
            ctlSubject->setFocus();
        }
        return false;
    }
    if (!ok.write) {
        return true;
    }
    if (const Result result = StoreAppointment(m_store, ok.appointment, QDate::currentDate()); !result.ok()) {
        reportFailure(result);
        return false;
    }
    m_appointment = ok.appointment;
    m_stored = true;
    return true;
}
