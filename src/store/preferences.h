#pragma once

#include <QByteArray>

#include <array>
#include <cstdint>

// The personal options of a user, kept enciphered in the user's row. Every index has its default; an index
// missing from a stored record takes its default, not zero.
struct Preferences {
    int IdleMinutes = 5;
    int StartSection = 0;
    int StartMode = 0;
    int TodoShowCompleted = 0;
    int reserved7 = 0;
    int DiaryShow = 1;
    int CatShow = 0;
    int CalView = 2;
    int AppDuration = 30;
    int WorkdayStart = 8 * 60; // minutes from midnight
    int WorkdayEnd = 17 * 60;
    int DisplayFrom = 7 * 60 + 30;
    std::array<int, 5> LastCategory{}; // Contacts and the next four list sections
    bool ShowPrivateAtStart = false;
    bool reservedFlag24 = true;
    int IdleAction = 0;
    int FirstDayOfWeek = 1; // 1 Sunday .. 7 Saturday
    bool CalendarDisplayPrivate = false;
    bool Birthday2Calendar = true;
    bool Anniversary2Calendar = true;

    // The defaults, with the first day of the week taken from the system's locale.
    static Preferences Defaults();

    QByteArray toBlob() const;
    // Reads a stored record over the defaults; `ok` tells whether anything could be read.
    static Preferences FromBlob(const QByteArray& blob, bool* ok = nullptr);
};
