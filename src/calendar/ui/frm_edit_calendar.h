#pragma once

#include "calendar/redo_editor.h"
#include "shell/ui/editor_dialog.h"

#include <QDateTime>

#include <array>
#include <optional>

class QCheckBox;
class QComboBox;
class QDateEdit;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QRadioButton;
class QSlider;
class QSpinBox;
class Session;
class Store;

// Edits one appointment, its times and its recurrence, and stores it on OK; a store that fails keeps the dialog
// open with everything typed. End date and number of occurrences follow each other as the rule changes.
class frmEditCalendar : public EditorDialog {
    Q_OBJECT
public:
    // `firstDay` (Sunday = 1) orders the weekday boxes and lists.
    frmEditCalendar(Store& store, const CALENDAR::Appointment& appointment, int firstDay, QWidget* parent = nullptr);

    // Opens the editor for the record `key`, or for a new appointment at `at` (-1), modally under `parent`; the
    // appointment stored, when OK stored one.
    static std::optional<CALENDAR::Appointment> Edit(Session& session, std::int32_t key, const QDateTime& at,
                                                     bool fromView, bool allDay, QWidget* parent);

    // Whether OK wrote the record, and the record as it was written.
    bool stored() const { return m_stored; }
    const CALENDAR::Appointment& appointment() const { return m_appointment; }

    QLineEdit* ctlSubject = nullptr;
    QLineEdit* ctlLocation = nullptr;
    QPlainTextEdit* ctlNotes = nullptr;
    QDateEdit* ctlDate = nullptr;
    QDateEdit* ctlDateEnd = nullptr;
    QWidget* TimeFrame = nullptr;
    std::array<QLineEdit*, 2> ctlHH{};
    std::array<QLineEdit*, 2> ctlNN{};
    QSlider* SliderHH = nullptr;
    QSlider* SliderNN = nullptr;
    QLabel* lblDuration = nullptr;
    QCheckBox* ctlAllday = nullptr;
    QCheckBox* ctlAlarmYN = nullptr;
    QComboBox* ctlAlarmDelay = nullptr;
    QCheckBox* ctlPrivate = nullptr;

    QGroupBox* fraRedo = nullptr;
    std::array<QRadioButton*, 5> Redo{};
    std::array<QRadioButton*, 2> RedoAlt{};
    QLabel* lblRedoEvery = nullptr;
    QLineEdit* ctlIntervalA = nullptr;
    QLabel* lblRedoUnitA = nullptr;
    std::array<QCheckBox*, 7> RedoWD{};
    QComboBox* cboRedoWhen = nullptr;
    QComboBox* cboRedoWeekday = nullptr;
    QLabel* lblRedoOf = nullptr;
    QLineEdit* ctlIntervalB = nullptr;
    QComboBox* cboRedoMonth = nullptr;
    QLabel* lblRedoUnitB = nullptr;
    QWidget* fraRedoPattern = nullptr;
    QWidget* fraRedoRange = nullptr;
    QDateEdit* ctlDateStartRedo = nullptr;
    std::array<QRadioButton*, 3> RedoEnd{};
    QSpinBox* occ = nullptr;
    QDateEdit* ctlDateEndRedo = nullptr;
    QLabel* lblSumup = nullptr;

protected:
    QVariantList values() const override;
    bool accepted() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildTimes(QWidget* parent);
    void buildRecurrence();
    // Writes every control from the working values; `typing` is left alone, so that a field keeps what is
    // being typed into it.
    void refresh(const QWidget* typing = nullptr);
    void fillAlarmList();
    // After any change of the recurrence: end and count in step, the appointment on the series' first day.
    void recalc(const QWidget* typing = nullptr);
    void setStart(std::int64_t start);
    // While the controls are written or the person is asked something, their signals are no edits: a question's
    // own loop takes the focus from the field it is about, which then reports being left.
    bool busy() const { return m_refreshing || m_asking; }

    void ctlDate_Change(const QDate& date);
    void timeField_Change(int index, QLineEdit* field);
    void ctlDateEnd_Change(const QDate& date);
    void slider_Change();
    void ctlAllday_Click(bool checked);
    void Redo_Click(int index);
    void RedoAlt_Click(int index);
    void RedoWD_Click(int index, bool checked);
    void interval_Change(QLineEdit* field, int& value);
    void RedoEnd_Click(int index);
    void ctlDateStartRedo_Change(const QDate& date);
    void ctlDateEndRedo_Change(const QDate& date);

    Store& m_store;
    CALENDAR::Appointment m_appointment;
    CALENDAR::Span m_span;
    std::optional<CALENDAR::Span> m_timedBefore;
    CALENDAR::RedoValues m_redo;
    bool m_refreshing = false;
    bool m_asking = false;
    bool m_stored = false;
};
