#pragma once

#include "store/store.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>

// The personal options of the logged-in user and the rules of the preferences dialog, kept apart from the
// dialog so that they can be run and tested without a screen.
namespace options {

constexpr int kUserFieldCount = 9;
constexpr int kMaxIdleMinutes = 15;
constexpr int kPinBoxCount = 9; // bit i of the PIN mask stands for section 11 + i
constexpr int kLastTimeOfDay = 23 * 60 + 45;

// Reads the user's options into the store; unreadable ones are replaced by the defaults and written at once.
int LoadOptions(Store& store);
// The options of a new user.
Preferences DefaultOptions();
// Writes the store's options into the user's row. A row that has gone is fatal: the person is told and
// StoreError::Fatal comes back, for the caller to end the program.
int SaveOptions(Store& store);

// The labels of the nine user fields of a contact; an empty or missing one reads "User Def n".
QStringList LoadUserFieldLabels(Store& store);
// Stores the nine labels (more are ignored, fewer are filled with empty ones). Returns 0 or an engine error.
int SaveUserFieldLabels(Store& store, const QStringList& labels);
// The stored form of the labels: the list version byte 9, then the labels joined by byte 17.
QByteArray UserFieldLabelsBytes(const QStringList& labels);
QStringList UserFieldLabelsFrom(const QByteArray& stored);
QString DefaultUserFieldLabel(int index);

// One step of a time field, in minutes from midnight, by -15, +15, -60 or +60. A quarter step that would
// leave the day does nothing; an hour step stops at 00:00 or 23:45.
int StepTime(int minutes, int step);

struct WorkTimes {
    int WorkdayStart = 8 * 60;
    int WorkdayEnd = 17 * 60;
    int DisplayFrom = 7 * 60 + 30;
};
// Keeps the working day in order after one of its ends moved: when the start is no longer before the end,
// the other end takes the moved one's value.
void KeepWorkdayInOrder(WorkTimes& times, bool startMoved);
// The step of spin control `control` (0 to 5) in `direction` (+1 up, -1 down): control modulo 3 picks the
// field (start, end, display from), controls 0 to 2 step by an hour and 3 to 5 by a quarter of an hour.
WorkTimes SpinTime(WorkTimes times, int control, int direction);
// "HH:MM".
QString TimeText(int minutes);

// The idle period after one step of its spin control: 0 (never) to 15 minutes.
int StepIdle(int minutes, int direction);

// The sections a build offers for the start section; the list "0" offers all of 11 to 17.
QList<int> OfferedSections(const QList<int>& sectionList);

// The PIN mask of the checked boxes: 2 to the power i for each checked box i, for i from 0 to 8.
std::int32_t PinMaskOf(const QList<bool>& checked);
bool PinMaskHas(std::int32_t mask, int box);

// Takes the PIN values of the dialog into the user's options. Returns whether any of them changed, that is
// whether the user's row must be written.
bool TakePinValues(UserOptions& options, const QString& pin, std::int32_t mask, bool everyAccess);

} // namespace options
