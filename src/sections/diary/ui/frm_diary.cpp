#include "sections/diary/ui/frm_diary.h"

#include "sections/diary/ui/frm_edit_text.h"
#include "shell/catalogue/captions.h"
#include "shell/session.h"
#include "shell/settings.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/modal.h"

#include <QCalendarWidget>
#include <QEvent>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTextCharFormat>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

const QString kLastPeriod = QStringLiteral("Diary\\LastPeriod");
constexpr int kShowLastUsed = 2;

} // namespace

frmDiary::frmDiary(Session& session, QWidget* parent)
    : SectionForm(parent)
    , m_session(session) {
    setObjectName(QStringLiteral("frmDiary"));
    m_editTool = toolAction("tbrEditDay", "kiNewRecord", tr("Write in the Day"));
    connect(m_editTool, &QAction::triggered, this, [this] { EditDay(static_cast<int>(m_weekStart.daysTo(m_date))); });
    lblTitel = new QLabel(this);
    lblTitel->setObjectName(QStringLiteral("lblTitel"));
    QFont heading = lblTitel->font();
    heading.setPointSizeF(heading.pointSizeF() * 1.5);
    heading.setBold(true);
    lblTitel->setFont(heading);

    calDate = new QCalendarWidget(this);
    calDate->setObjectName(QStringLiteral("calDate"));
    calDate->setFirstDayOfWeek(QLocale().firstDayOfWeek());
    calDate->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    connect(calDate, &QCalendarWidget::clicked, this, &frmDiary::calDate_Click);
    connect(calDate, &QCalendarWidget::activated, this, &frmDiary::calDate_Click);
    connect(calDate, &QCalendarWidget::currentPageChanged, this, &frmDiary::markDaysWithEntries);

    diaPeriodFrame = new QFrame(this);
    diaPeriodFrame->setObjectName(QStringLiteral("diaPeriodFrame"));
    auto* periodRow = new QHBoxLayout(diaPeriodFrame);
    for (int i = 0; i < 2; ++i) {
        diaPeriod[i] = new QRadioButton(diaPeriodFrame);
        diaPeriod[i]->setObjectName(ArrayElementName("diaPeriod", i));
        connect(diaPeriod[i], &QRadioButton::clicked, this, [this, i] { diaPeriod_Click(i); });
        periodRow->addWidget(diaPeriod[i]);
    }
    periodRow->addStretch();
    diaMoveDown = new QToolButton(diaPeriodFrame);
    diaMoveDown->setObjectName(QStringLiteral("diaMoveDown"));
    diaMoveDown->setArrowType(Qt::LeftArrow);
    diaMoveUp = new QToolButton(diaPeriodFrame);
    diaMoveUp->setObjectName(QStringLiteral("diaMoveUp"));
    diaMoveUp->setArrowType(Qt::RightArrow);
    connect(diaMoveDown, &QToolButton::clicked, this, [this] { diaMoveDay(-1); });
    connect(diaMoveUp, &QToolButton::clicked, this, [this] { diaMoveDay(1); });
    periodRow->addWidget(diaMoveDown);
    periodRow->addWidget(diaMoveUp);

    auto* daysArea = new QWidget(this);
    m_days = new QGridLayout(daysArea);
    m_days->setContentsMargins(0, 0, 0, 0);
    for (int i = 0; i < 7; ++i) {
        txtMargin[i] = new QPushButton(daysArea);
        txtMargin[i]->setObjectName(ArrayElementName("txtMargin", i));
        txtMargin[i]->setFlat(true);
        txtMargin[i]->setStyleSheet(QStringLiteral("text-align: left; font-weight: bold;"));
        connect(txtMargin[i], &QPushButton::clicked, this, [this, i] { calDate_Click(m_weekStart.addDays(i)); });
        txtInput[i] = new QPlainTextEdit(daysArea);
        txtInput[i]->setObjectName(ArrayElementName("txtInput", i));
        txtInput[i]->setReadOnly(true);
        txtInput[i]->setLineWrapMode(QPlainTextEdit::WidgetWidth);
        txtInput[i]->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        txtInput[i]->setFocusPolicy(Qt::StrongFocus);
        txtInput[i]->installEventFilter(this);
        txtInput[i]->viewport()->installEventFilter(this);
    }

    auto* side = new QVBoxLayout;
    side->addWidget(calDate);
    side->addWidget(diaPeriodFrame);
    side->addStretch();
    auto* main = new QHBoxLayout;
    main->addLayout(side);
    main->addWidget(daysArea, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblTitel);
    layout->addLayout(main, 1);
    ApplyCaptions(this);

    const int show = m_session.store().preferences.DiaryShow;
    m_period = show == kShowLastUsed ? (RegReadValue(kLastPeriod) == QLatin1String("0") ? 0 : 1) : (show == 0 ? 0 : 1);
    diaPeriod[m_period]->setChecked(true);
    calDate_Click(QDate::currentDate());
}

void frmDiary::calDate_Click(const QDate& date) {
    if (!date.isValid()) {
        return;
    }
    m_date = date;
    if (calDate->selectedDate() != date) {
        calDate->setSelectedDate(date);
    }
    const QDate start = diary::WeekStart(date, QLocale().firstDayOfWeek());
    if (start != m_weekStart) {
        LoadWeek(date);
    }
    layoutBoxes();
    txtInput[m_weekStart.daysTo(m_date)]->setFocus();
}

void frmDiary::LoadWeek(const QDate& date) {
    m_weekStart = diary::WeekStart(date, QLocale().firstDayOfWeek());
    m_entries = diary::LoadWeek(m_session.store(), m_weekStart);
    for (int i = 0; i < 7; ++i) {
        txtInput[i]->setPlainText(m_entries[i].text);
        txtInput[i]->setProperty("Tag", m_entries[i].key > 0 ? QString::number(m_entries[i].key) : QString());
    }
    ShowDayHeaders();
    markDaysWithEntries();
}

void frmDiary::ShowDayHeaders() {
    for (int i = 0; i < 7; ++i) {
        txtMargin[i]->setText(QLocale().toString(m_weekStart.addDays(i), QLocale::LongFormat));
    }
}

void frmDiary::layoutBoxes() {
    for (int i = 0; i < 7; ++i) {
        m_days->removeWidget(txtMargin[i]);
        m_days->removeWidget(txtInput[i]);
    }
    const int today = static_cast<int>(m_weekStart.daysTo(m_date));
    for (int i = 0; i < 7; ++i) {
        const bool shown = m_period == 1 || i == today;
        txtMargin[i]->setVisible(shown);
        txtInput[i]->setVisible(shown);
        if (!shown) {
            continue;
        }
        // Seven days stand in two columns, three on the left and four on the right.
        const int column = m_period == 0 || i < 3 ? 0 : 1;
        const int row = m_period == 0 ? 0 : (i < 3 ? i : i - 3);
        m_days->addWidget(txtMargin[i], row * 2, column);
        m_days->addWidget(txtInput[i], row * 2 + 1, column);
    }
    for (int row = 0; row < 8; ++row) {
        m_days->setRowStretch(row, row % 2);
    }
}

void frmDiary::markDaysWithEntries() {
    calDate->setDateTextFormat(QDate(), QTextCharFormat());
    const QDate first(calDate->yearShown(), calDate->monthShown(), 1);
    QTextCharFormat marked;
    marked.setFontWeight(QFont::Bold);
    marked.setFontUnderline(true);
    // The page shows some days of the months around it too.
    for (const QDate& day :
         diary::DaysWithEntries(m_session.store(), first.addDays(-7), first.addMonths(1).addDays(14))) {
        calDate->setDateTextFormat(day, marked);
    }
}

void frmDiary::diaPeriod_Click(int index) {
    m_period = index;
    RegWriteDword(kLastPeriod, static_cast<quint32>(index));
    calDate_Click(m_date);
}

void frmDiary::diaMoveDay(int direction) {
    calDate_Click(m_date.addDays(direction * (m_period == 1 ? 7 : 1)));
}

QList<QAction*> frmDiary::toolActions() {
    return {m_editTool};
}

void frmDiary::showFound(const FoundRecord& found) {
    calDate_Click(found.date);
}

void frmDiary::EditDay(int index) {
    const QString title = txtMargin[index]->text();
    const modal::Scoped<frmEditText> dialog(
        m_session.store().prompter, title, txtInput[index]->toPlainText(),
        [this, index](const QString& text) {
            diary::DiaryEntry entry = m_entries[index];
            entry.owner = m_session.store().user.level;
            entry.date = m_weekStart.addDays(index);
            entry.text = text;
            const Result result = diary::StoreDiaryDay(m_session.store(), entry);
            if (result.ok()) {
                m_entries[index] = entry;
            }
            return result;
        },
        this);
    dialog.exec();
    if (dialog.get() != nullptr && !dialog->cancelled()) {
        txtInput[index]->setPlainText(m_entries[index].text);
        txtInput[index]->setProperty("Tag", QString::number(m_entries[index].key));
        markDaysWithEntries();
    }
}

int frmDiary::boxOf(const QObject* watched) const {
    for (int i = 0; i < 7; ++i) {
        if (watched == txtInput[i] || watched == txtInput[i]->viewport()) {
            return i;
        }
    }
    return -1;
}

bool frmDiary::eventFilter(QObject* watched, QEvent* event) {
    const int box = boxOf(watched);
    if (box < 0) {
        return SectionForm::eventFilter(watched, event);
    }
    if (event->type() == QEvent::MouseButtonDblClick) {
        EditDay(box);
        return true;
    }
    if (event->type() == QEvent::FocusIn && m_weekStart.addDays(box) != m_date) {
        m_date = m_weekStart.addDays(box);
        calDate->setSelectedDate(m_date);
    }
    if (event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            EditDay(box);
            return true;
        }
        if (m_period == 1 && key->modifiers() == Qt::NoModifier) {
            const bool back = key->key() == Qt::Key_Left || key->key() == Qt::Key_Up;
            const bool forward = key->key() == Qt::Key_Right || key->key() == Qt::Key_Down;
            if ((back && box > 0) || (forward && box < 6)) {
                txtInput[box + (back ? -1 : 1)]->setFocus();
                return true;
            }
        }
    }
    return SectionForm::eventFilter(watched, event);
}
