#include "shell/ui/frm_options.h"

#include "shell/catalogue/captions.h"
#include "shell/open_sequence.h"
#include "shell/section_table.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/up_down.h"
#include "store/keys.h"
#include "store/users.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QRadioButton>
#include <QShortcut>
#include <QTabWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kDurations[] = {15, 20, 30, 60, 90, 120};

template <typename T> T* Named(T* widget, const QString& name) {
    widget->setObjectName(name);
    return widget;
}

template <typename T> T* Make(QWidget* parent, const char* name) {
    return Named(new T(parent), QLatin1String(name));
}

template <typename T> T* MakeElement(QWidget* parent, const char* name, int index) {
    return Named(new T(parent), ArrayElementName(name, index));
}

QGroupBox* Group(QWidget* parent, const char* name) {
    return Make<QGroupBox>(parent, name);
}

// The index of the checked button of an option group, or -1.
template <std::size_t N> int CheckedIndex(const std::array<QRadioButton*, N>& group) {
    for (std::size_t i = 0; i < N; ++i) {
        if (group[i]->isChecked()) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

template <std::size_t N> void CheckIndex(const std::array<QRadioButton*, N>& group, int index) {
    if (index >= 0 && static_cast<std::size_t>(index) < N) {
        group[static_cast<std::size_t>(index)]->setChecked(true);
    }
}

// A section's name as the form's caption table gives it.
QString SectionName(int section) {
    for (const CaptionEntry& entry : CaptionsFor(QStringLiteral("frmOptions"))) {
        if (entry.control != nullptr && qstrcmp(entry.control, "SectionName") == 0 && entry.index == section) {
            return QString::fromUtf8(entry.text);
        }
    }
    return QString::number(section);
}

} // namespace

frmOptions::frmOptions(Session& session, QWidget* parent, const QList<int>& sections)
    : QDialog(parent)
    , m_session(session)
    , m_sections(options::OfferedSections(sections)) {
    setObjectName(QStringLiteral("frmOptions"));
    setWindowTitle(QStringLiteral("Preferences"));

    tbsOptions = Make<QTabWidget>(this, "tbsOptions");
    picOptions = {buildStartup(), buildCalendar(), buildSecurity(), buildContacts()};
    for (QWidget* panel : picOptions) {
        tbsOptions->addTab(panel, QString());
    }

    cmdOK = Make<QPushButton>(this, "cmdOK");
    cmdOK->setDefault(true);
    cmdCancel = Make<QPushButton>(this, "cmdCancel");
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 12, 12, 12);
    layout->setSpacing(12);
    layout->addWidget(tbsOptions);
    layout->addLayout(buttons);

    connect(tbsOptions, &QTabWidget::currentChanged, this, &frmOptions::tbsOptions_Click);
    connect(cmdOK, &QPushButton::clicked, this, &frmOptions::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    // Ctrl+Tab anywhere in the dialog, also from the buttons below the tabs, goes round the tabs.
    auto* next = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Tab), this);
    connect(next, &QShortcut::activated, this, &frmOptions::nextTab);

    Form_Load();
}

QWidget* frmOptions::buildStartup() {
    auto* panel = MakeElement<QWidget>(this, "picOptions", kStartup);

    auto* start = Group(panel, "fraStartScreen");
    auto* startLayout = new QGridLayout(start);
    for (int i = 0; i < 3; ++i) {
        StartScreen[i] = MakeElement<QRadioButton>(start, "StartScreen", i);
        startLayout->addWidget(StartScreen[i], i, 0);
    }
    cboStartApp = Make<QComboBox>(start, "cboStartApp");
    cboStartApp->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    startLayout->addWidget(cboStartApp, 1, 1);
    startLayout->setColumnStretch(2, 1);
    startLayout->setHorizontalSpacing(12);

    auto* diary = Group(panel, "fraDiaryShow");
    auto* diaryLayout = new QVBoxLayout(diary);
    for (int i = 0; i < static_cast<int>(DiaryShow.size()); ++i) {
        DiaryShow[i] = MakeElement<QRadioButton>(diary, "DiaryShow", i);
        diaryLayout->addWidget(DiaryShow[i]);
    }

    auto* categories = Group(panel, "fraCatShow");
    auto* catLayout = new QVBoxLayout(categories);
    for (int i = 0; i < 2; ++i) {
        CatShow[i] = MakeElement<QRadioButton>(categories, "CatShow", i);
        catLayout->addWidget(CatShow[i]);
    }

    auto* tasks = Group(panel, "fraTodo");
    auto* tasksLayout = new QVBoxLayout(tasks);
    TodoShowCompleted = Make<QCheckBox>(tasks, "TodoShowCompleted");
    tasksLayout->addWidget(TodoShowCompleted);

    auto* row = new QHBoxLayout;
    row->addWidget(diary, 1);
    row->addWidget(categories, 1);
    auto* layout = new QVBoxLayout(panel);
    layout->addWidget(start);
    layout->addLayout(row);
    layout->addWidget(tasks);
    layout->addStretch();
    return panel;
}

QWidget* frmOptions::buildCalendar() {
    auto* panel = MakeElement<QWidget>(this, "picOptions", kCalendar);

    auto* view = Group(panel, "fraCalView");
    auto* viewLayout = new QVBoxLayout(view);
    for (int i = 0; i < 4; ++i) {
        CalView[i] = MakeElement<QRadioButton>(view, "CalView", i);
        viewLayout->addWidget(CalView[i]);
    }
    viewLayout->addStretch();

    auto* duration = Group(panel, "fraAppDuration");
    auto* durationLayout = new QGridLayout(duration);
    for (int i = 0; i < 6; ++i) {
        AppDuration[i] = MakeElement<QRadioButton>(duration, "AppDuration", i);
        durationLayout->addWidget(AppDuration[i], i % 3, i / 3);
    }
    durationLayout->setRowStretch(3, 1);

    auto* times = Group(panel, "fraTimes");
    auto* timesLayout = new QGridLayout(times);
    timesLayout->setHorizontalSpacing(10);
    timesLayout->addWidget(Make<QLabel>(times, "lblStepHour"), 0, 2, Qt::AlignHCenter);
    timesLayout->addWidget(Make<QLabel>(times, "lblStepQuarter"), 0, 3, Qt::AlignHCenter);
    const char* labels[] = {"lblWorkdayStart", "lblWorkdayEnd", "lblDisplayFrom"};
    const char* fields[] = {"WorkdayStart", "WorkdayEnd", "DisplayFrom"};
    QLabel** targets[] = {&WorkdayStart, &WorkdayEnd, &DisplayFrom};
    for (int f = 0; f < 3; ++f) {
        timesLayout->addWidget(Make<QLabel>(times, labels[f]), f + 1, 0);
        QLabel* field = Make<QLabel>(times, fields[f]);
        field->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
        field->setAlignment(Qt::AlignCenter);
        field->setMinimumWidth(field->fontMetrics().horizontalAdvance(QStringLiteral("00:00")) + 16);
        *targets[f] = field;
        timesLayout->addWidget(field, f + 1, 1);
    }
    for (int i = 0; i < 6; ++i) {
        udHN[i] = Named(new UpDown(times), ArrayElementName("udHN", i));
        timesLayout->addWidget(udHN[i], i % 3 + 1, i < 3 ? 2 : 3, Qt::AlignHCenter);
        connect(udHN[i]->upButton(), &QToolButton::clicked, this, [this, i] { udHN_Change(i, 1); });
        connect(udHN[i]->downButton(), &QToolButton::clicked, this, [this, i] { udHN_Change(i, -1); });
    }
    timesLayout->setColumnStretch(4, 1);

    cboFirstDayOfWeek = Make<QComboBox>(times, "cboFirstDayOfWeek");
    timesLayout->addWidget(Make<QLabel>(times, "lblFirstDayOfWeek"), 4, 0);
    timesLayout->addWidget(cboFirstDayOfWeek, 4, 1, 1, 3);

    auto* hidden = Group(panel, "fraCalendarDisplayPrivate");
    auto* hiddenLayout = new QHBoxLayout(hidden);
    for (int i = 0; i < 2; ++i) {
        CalendarDisplayPrivate[i] = MakeElement<QRadioButton>(hidden, "CalendarDisplayPrivate", i);
        hiddenLayout->addWidget(CalendarDisplayPrivate[i]);
    }
    hiddenLayout->addStretch();
    connect(CalendarDisplayPrivate[1], &QRadioButton::toggled, this, &frmOptions::CalendarDisplayPrivate_Click);

    auto* row = new QHBoxLayout;
    row->addWidget(view, 1);
    row->addWidget(duration, 1);
    auto* layout = new QVBoxLayout(panel);
    layout->addLayout(row);
    layout->addWidget(times);
    layout->addWidget(hidden);
    layout->addStretch();
    return panel;
}

QWidget* frmOptions::buildSecurity() {
    auto* panel = MakeElement<QWidget>(this, "picOptions", kSecurity);

    auto* idle = Group(panel, "fraIdle");
    auto* idleLayout = new QVBoxLayout(idle);
    auto* period = new QHBoxLayout;
    labIdle = Make<QLabel>(idle, "labIdle");
    labIdle->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    labIdle->setAlignment(Qt::AlignCenter);
    labIdle->setMinimumWidth(labIdle->fontMetrics().horizontalAdvance(QStringLiteral("00")) + 16);
    UpDownIdle = Named(new UpDown(idle), QStringLiteral("UpDownIdle"));
    cmdChangeIdle = Make<QPushButton>(idle, "cmdChangeIdle");
    period->addWidget(Make<QLabel>(idle, "lblIdle"));
    period->addWidget(labIdle);
    period->addWidget(UpDownIdle);
    period->addWidget(Make<QLabel>(idle, "lblIdleMinutes"));
    period->addWidget(cmdChangeIdle);
    period->addStretch();
    idleLayout->addLayout(period);
    for (int i = 0; i < 3; ++i) {
        optIdle[i] = MakeElement<QRadioButton>(idle, "optIdle", i);
        idleLayout->addWidget(optIdle[i]);
    }
    connect(cmdChangeIdle, &QPushButton::clicked, this, &frmOptions::cmdChangeIdle_Click);
    connect(UpDownIdle->upButton(), &QToolButton::clicked, this, [this] { UpDownIdle_Change(1); });
    connect(UpDownIdle->downButton(), &QToolButton::clicked, this, [this] { UpDownIdle_Change(-1); });

    auto* pin = Group(panel, "fraPIN");
    auto* pinLayout = new QVBoxLayout(pin);
    cmdPIN = Make<QPushButton>(pin, "cmdPIN");
    auto* pinButtonRow = new QHBoxLayout;
    pinButtonRow->addWidget(cmdPIN);
    pinButtonRow->addStretch();
    pinLayout->addLayout(pinButtonRow);

    PinFrame = Make<QFrame>(pin, "PinFrame");
    auto* frameLayout = new QGridLayout(PinFrame);
    frameLayout->setContentsMargins(0, 6, 0, 0);
    frameLayout->setHorizontalSpacing(12);
    PIN = Make<QLineEdit>(PinFrame, "PIN");
    auto* hint = Make<QLabel>(PinFrame, "lblPinHint");
    hint->setWordWrap(true);
    frameLayout->addWidget(Make<QLabel>(PinFrame, "lblPIN"), 0, 0);
    frameLayout->addWidget(PIN, 0, 1, 1, 2);
    frameLayout->addWidget(hint, 1, 1, 1, 3);

    auto* boxes = new QGridLayout;
    boxes->setHorizontalSpacing(16);
    int shown = 0;
    for (int i = 0; i < options::kPinBoxCount; ++i) {
        PinApp[i] = MakeElement<QCheckBox>(PinFrame, "PinApp", i);
        const auto gated = std::find_if(sections::Table().begin(), sections::Table().end(),
                                        [i](const SectionInfo& info) { return info.pinBit == i; });
        // Only the sections of this build that have a PIN gate are offered; the other bits keep their state.
        if (gated != sections::Table().end() && m_sections.contains(sections::Number(gated->id))) {
            boxes->addWidget(PinApp[i], shown / 3, shown % 3);
            ++shown;
        } else {
            PinApp[i]->hide();
        }
    }
    auto* askFor = Make<QLabel>(PinFrame, "lblPinApp");
    askFor->setVisible(shown > 0);
    frameLayout->addWidget(askFor, 2, 0, Qt::AlignTop);
    frameLayout->addLayout(boxes, 2, 1, 1, 3);
    frameLayout->addWidget(Make<QLabel>(PinFrame, "lblPINeveryaccess"), 3, 0);
    for (int i = 0; i < 2; ++i) {
        PINeveryaccess[i] = MakeElement<QRadioButton>(PinFrame, "PINeveryaccess", i);
        frameLayout->addWidget(PINeveryaccess[i], 3, i + 1);
    }
    cmdPINhide = Make<QPushButton>(PinFrame, "cmdPINhide");
    frameLayout->addWidget(cmdPINhide, 4, 3, Qt::AlignRight);
    frameLayout->setColumnStretch(3, 1);
    pinLayout->addWidget(PinFrame);
    connect(cmdPIN, &QPushButton::clicked, this, &frmOptions::cmdPIN_Click);
    connect(cmdPINhide, &QPushButton::clicked, this, &frmOptions::cmdPINhide_Click);

    chkShowPrivate = Make<QCheckBox>(panel, "chkShowPrivate");
    connect(chkShowPrivate, &QCheckBox::toggled, this, &frmOptions::chkShowPrivate_Click);
    cmdPWchange = Make<QPushButton>(panel, "cmdPWchange");
    connect(cmdPWchange, &QPushButton::clicked, this, &frmOptions::cmdPWchange_Click);
    auto* last = new QHBoxLayout;
    last->addWidget(chkShowPrivate);
    last->addStretch();
    last->addWidget(cmdPWchange);

    auto* layout = new QVBoxLayout(panel);
    layout->addWidget(idle);
    layout->addWidget(pin);
    layout->addLayout(last);
    layout->addStretch();
    return panel;
}

QWidget* frmOptions::buildContacts() {
    auto* panel = MakeElement<QWidget>(this, "picOptions", kContacts);

    auto* calendar = Group(panel, "fraAdd2Calendar");
    auto* calendarLayout = new QVBoxLayout(calendar);
    chkBirthday2Calendar = Make<QCheckBox>(calendar, "chkBirthday2Calendar");
    chkAnniversary2Calendar = Make<QCheckBox>(calendar, "chkAnniversary2Calendar");
    calendarLayout->addWidget(chkBirthday2Calendar);
    calendarLayout->addWidget(chkAnniversary2Calendar);

    auto* labels = Group(panel, "fraUserDefined");
    auto* labelsLayout = new QGridLayout(labels);
    labelsLayout->setHorizontalSpacing(10);
    constexpr int kRows = 5;
    for (int i = 0; i < options::kUserFieldCount; ++i) {
        txtUserDefined[i] = MakeElement<QLineEdit>(labels, "txtUserDefined", i);
        const int column = (i / kRows) * 2;
        labelsLayout->addWidget(MakeElement<QLabel>(labels, "lblUserDefined", i), i % kRows, column);
        labelsLayout->addWidget(txtUserDefined[i], i % kRows, column + 1);
    }
    labelsLayout->setColumnMinimumWidth(2, 40);

    auto* layout = new QVBoxLayout(panel);
    layout->addWidget(calendar);
    layout->addWidget(labels);
    layout->addStretch();
    return panel;
}

void frmOptions::Form_Load() {
    m_loading = true;
    ApplyCaptions(this);
    // Room for everything the dialog can show, so that it does not grow when the PIN or the idle spin appear.
    setMinimumSize(sizeHint());
    PinFrame->hide();
    UpDownIdle->hide();

    Store& store = m_session.store();
    const Preferences& p = store.preferences;

    CheckIndex(optIdle, p.IdleAction);
    labIdle->setText(QString::number(std::clamp(p.IdleMinutes, 0, options::kMaxIdleMinutes)));

    for (int section : m_sections) {
        cboStartApp->addItem(SectionName(section), section);
    }
    cboStartApp->setCurrentIndex(cboStartApp->findData(p.StartSection));
    CheckIndex(StartScreen, p.StartMode);
    TodoShowCompleted->setChecked(p.TodoShowCompleted != 0);
    CheckIndex(DiaryShow, p.DiaryShow);
    CheckIndex(CatShow, p.CatShow);

    CheckIndex(CalView, p.CalView);
    const auto duration = std::find(std::begin(kDurations), std::end(kDurations), p.AppDuration);
    if (duration != std::end(kDurations)) {
        CheckIndex(AppDuration, static_cast<int>(duration - std::begin(kDurations)));
    }
    m_times = {p.WorkdayStart, p.WorkdayEnd, p.DisplayFrom};
    showTimes();
    // Stored days count from Sunday = 1.
    const QLocale locale;
    for (int day = 1; day <= 7; ++day) {
        cboFirstDayOfWeek->addItem(locale.dayName(day == 1 ? Qt::Sunday : day - 1), day);
    }
    cboFirstDayOfWeek->setCurrentIndex(cboFirstDayOfWeek->findData(p.FirstDayOfWeek));
    CalendarDisplayPrivate[p.CalendarDisplayPrivate ? 1 : 0]->setChecked(true);

    chkShowPrivate->setChecked(p.ShowPrivateAtStart);
    const UserOptions& pin = store.user.options;
    PIN->setText(pin.PinCode);
    for (int i = 0; i < options::kPinBoxCount; ++i) {
        PinApp[i]->setChecked(options::PinMaskHas(pin.PinMask, i));
    }
    PINeveryaccess[pin.PinEveryAccess ? 1 : 0]->setChecked(true);

    chkBirthday2Calendar->setChecked(p.Birthday2Calendar);
    chkAnniversary2Calendar->setChecked(p.Anniversary2Calendar);
    const QStringList labels = options::LoadUserFieldLabels(store);
    for (int i = 0; i < options::kUserFieldCount; ++i) {
        txtUserDefined[i]->setText(labels.value(i));
    }

    tbsOptions->setCurrentIndex(kStartup);
    m_loading = false;
}

bool frmOptions::confirmPassphrase() {
    const bool wasLoading = m_loading;
    m_loading = true;
    const bool right = keys::ConfirmPassphrase(m_session.store(), false);
    m_loading = wasLoading;
    return right;
}

void frmOptions::tbsOptions_Click(int index) {
    if (m_loading || index != kSecurity) {
        return;
    }
    if (!confirmPassphrase()) {
        m_loading = true;
        tbsOptions->setCurrentIndex(kStartup);
        m_loading = false;
    }
}

void frmOptions::nextTab() {
    tbsOptions->setCurrentIndex((tbsOptions->currentIndex() + 1) % tbsOptions->count());
}

void frmOptions::cmdChangeIdle_Click() {
    if (m_loading || !confirmPassphrase()) {
        return;
    }
    UpDownIdle->show();
    cmdChangeIdle->hide();
}

void frmOptions::UpDownIdle_Change(int direction) {
    labIdle->setText(QString::number(options::StepIdle(labIdle->text().toInt(), direction)));
}

void frmOptions::cmdPIN_Click() {
    if (m_loading || !confirmPassphrase()) {
        return;
    }
    PinFrame->show();
    PIN->setFocus();
}

void frmOptions::cmdPINhide_Click() {
    PinFrame->hide();
    m_pinMarked = true;
}

void frmOptions::chkShowPrivate_Click(bool checked) {
    if (m_loading || !checked) {
        return;
    }
    if (!confirmPassphrase()) {
        m_loading = true;
        chkShowPrivate->setChecked(false);
        m_loading = false;
    }
}

void frmOptions::CalendarDisplayPrivate_Click(bool checked) {
    if (m_loading || !checked) {
        return;
    }
    if (!confirmPassphrase()) {
        m_loading = true;
        CalendarDisplayPrivate[0]->setChecked(true);
        m_loading = false;
    }
}

void frmOptions::cmdPWchange_Click() {
    if (m_loading) {
        return;
    }
    m_loading = true;
    open_sequence::ChangePassphraseCommand(m_session);
    m_loading = false;
}

void frmOptions::udHN_Change(int index, int direction) {
    if (m_loading) {
        return;
    }
    m_times = options::SpinTime(m_times, index, direction);
    showTimes();
}

void frmOptions::showTimes() {
    WorkdayStart->setText(options::TimeText(m_times.WorkdayStart));
    WorkdayEnd->setText(options::TimeText(m_times.WorkdayEnd));
    DisplayFrom->setText(options::TimeText(m_times.DisplayFrom));
}

void frmOptions::cmdOK_Click() {
    Store& store = m_session.store();
    Preferences& p = store.preferences;

    p.IdleMinutes = labIdle->text().toInt();
    if (const int action = CheckedIndex(optIdle); action >= 0) {
        p.IdleAction = action;
    }

    QStringList labels;
    for (const QLineEdit* label : txtUserDefined) {
        labels << label->text();
    }
    options::SaveUserFieldLabels(store, labels);

    p.Anniversary2Calendar = chkAnniversary2Calendar->isChecked();
    p.Birthday2Calendar = chkBirthday2Calendar->isChecked();
    if (const int mode = CheckedIndex(StartScreen); mode >= 0) {
        p.StartMode = mode;
    }
    if (cboStartApp->currentIndex() < 0 && cboStartApp->count() > 0) {
        cboStartApp->setCurrentIndex(0);
    }
    if (cboStartApp->currentIndex() >= 0) {
        p.StartSection = cboStartApp->currentData().toInt();
    }

    if (const int diary = CheckedIndex(DiaryShow); diary >= 0) {
        p.DiaryShow = diary;
    }
    p.TodoShowCompleted = TodoShowCompleted->isChecked() ? 1 : 0;
    if (const int categories = CheckedIndex(CatShow); categories >= 0) {
        p.CatShow = categories;
    }
    if (const int view = CheckedIndex(CalView); view >= 0) {
        p.CalView = view;
    }

    if (const int duration = CheckedIndex(AppDuration); duration >= 0) {
        p.AppDuration = kDurations[duration];
    }

    p.WorkdayStart = m_times.WorkdayStart;
    p.WorkdayEnd = m_times.WorkdayEnd;
    p.DisplayFrom = m_times.DisplayFrom;

    // The frame's Lock button follows the private switch in HideShow below.
    if (cboFirstDayOfWeek->currentIndex() >= 0) {
        p.FirstDayOfWeek = cboFirstDayOfWeek->currentData().toInt();
    }
    p.CalendarDisplayPrivate = CalendarDisplayPrivate[1]->isChecked();
    p.ShowPrivateAtStart = chkShowPrivate->isChecked();

    m_session.frame.HideShow();

    if (options::SaveOptions(store) == StoreError::Fatal) {
        done(kFatal);
        return;
    }

    QList<bool> checked;
    for (const QCheckBox* box : PinApp) {
        checked << box->isChecked();
    }
    const bool pinChanged = options::TakePinValues(store.user.options, PIN->text(), options::PinMaskOf(checked),
                                                   PINeveryaccess[1]->isChecked());
    if (pinChanged || m_pinMarked) {
        users::SaveUser(store, true);
    }

    accept();
}
