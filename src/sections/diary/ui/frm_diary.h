#pragma once

#include "sections/diary/diary.h"
#include "shell/ui/section_form.h"

#include <array>

class QCalendarWidget;
class QFrame;
class QGridLayout;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QRadioButton;
class QToolButton;
class Session;

// The Diary section: one free text a day, a day or a week at a time, for the present user alone.
class frmDiary : public SectionForm {
    Q_OBJECT
public:
    explicit frmDiary(Session& session, QWidget* parent = nullptr);
    QList<QAction*> toolActions() override;
    // Moves to the day of the entry found.
    void showFound(const FoundRecord& found) override;

    // Shows the week that holds `date` (the one day in the one-day mode) and marks the date in the calendar.
    void calDate_Click(const QDate& date);
    void LoadWeek(const QDate& date);
    // 0 one day, 1 seven days.
    void diaPeriod_Click(int index);
    // -1 back, +1 forward: a day or a week as the period shows.
    void diaMoveDay(int direction);
    // Edits the day of box `index`.
    void EditDay(int index);

    QDate shownDate() const { return m_date; }
    QDate weekStart() const { return m_weekStart; }
    int period() const { return m_period; }

    QLabel* lblTitel = nullptr;
    QCalendarWidget* calDate = nullptr;
    QFrame* diaPeriodFrame = nullptr;
    std::array<QRadioButton*, 2> diaPeriod{};
    QToolButton* diaMoveDown = nullptr;
    QToolButton* diaMoveUp = nullptr;
    std::array<QPushButton*, 7> txtMargin{};
    std::array<QPlainTextEdit*, 7> txtInput{};

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void ShowDayHeaders();
    void layoutBoxes();
    void markDaysWithEntries();
    int boxOf(const QObject* watched) const;

    Session& m_session;
    QGridLayout* m_days = nullptr;
    QDate m_date;
    QDate m_weekStart;
    int m_period = 1;
    std::array<diary::DiaryEntry, 7> m_entries{};
    QAction* m_editTool = nullptr;
};
