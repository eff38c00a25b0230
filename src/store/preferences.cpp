#include "store/preferences.h"

#include "store/field_codec.h"
#include "store/record_get.h"
#include "store/record_put.h"

#include <QLocale>

#include <cmath>

namespace {

// Times of day are stored as the fraction of a day.
double DayFraction(int minutes) {
    return minutes / 1440.0;
}

int MinutesOf(double fraction) {
    const double minutes = std::round(fraction * 1440.0);
    return std::isfinite(minutes) && minutes >= 0 && minutes < 1440 ? static_cast<int>(minutes) : 0;
}

} // namespace

Preferences Preferences::Defaults() {
    Preferences p;
    const int qtDay = QLocale::system().firstDayOfWeek(); // Monday 1 .. Sunday 7
    p.FirstDayOfWeek = qtDay == Qt::Sunday ? 1 : qtDay + 1;
    return p;
}

QByteArray Preferences::toBlob() const {
    using namespace FieldType;
    QByteArray blob;
    auto put = [&blob](int index, const QVariant& value, std::uint8_t type) {
        blob += Record_Put::PutField(value, type, index);
    };
    put(0, IdleMinutes, Int16);
    put(4, StartSection, Byte);
    put(5, StartMode, Byte);
    put(6, TodoShowCompleted, Byte);
    put(7, reserved7, Byte);
    put(8, DiaryShow, Byte);
    put(9, CatShow, Byte);
    put(10, CalView, Byte);
    put(11, AppDuration, Int32);
    put(12, DayFraction(WorkdayStart), Fraction);
    put(13, DayFraction(WorkdayEnd), Fraction);
    put(14, DayFraction(DisplayFrom), Fraction);
    for (int i = 0; i < 5; ++i) {
        put(15 + i, LastCategory[i], Int16);
    }
    put(23, ShowPrivateAtStart, Boolean);
    put(24, reservedFlag24, Boolean);
    put(25, IdleAction, Byte);
    put(26, FirstDayOfWeek, Byte);
    put(27, CalendarDisplayPrivate, Boolean);
    put(28, Birthday2Calendar, Boolean);
    put(29, Anniversary2Calendar, Boolean);
    return blob;
}

Preferences Preferences::FromBlob(const QByteArray& blob, bool* ok) {
    Preferences p = Defaults();
    FieldValues values;
    const int count = Record_Get::GetRecord(values, blob);
    if (ok != nullptr) {
        *ok = count > 0;
    }
    // Slots that were not in the blob stay unset; only what was read replaces a default.
    auto has = [&values](int i) {
        return i < values.size() && values[i].isValid() &&
               !(values[i].typeId() == QMetaType::QString && values[i].toString().isEmpty());
    };
    auto number = [&](int i, int& field) {
        if (has(i)) {
            field = values[i].toInt();
        }
    };
    auto flag = [&](int i, bool& field) {
        if (has(i)) {
            field = values[i].toBool();
        }
    };
    auto time = [&](int i, int& field) {
        if (has(i)) {
            field = MinutesOf(values[i].toDouble());
        }
    };
    number(0, p.IdleMinutes);
    number(4, p.StartSection);
    number(5, p.StartMode);
    number(6, p.TodoShowCompleted);
    number(7, p.reserved7);
    number(8, p.DiaryShow);
    number(9, p.CatShow);
    number(10, p.CalView);
    if (has(11)) {
        p.AppDuration = values[11].toInt();
    }
    time(12, p.WorkdayStart);
    time(13, p.WorkdayEnd);
    time(14, p.DisplayFrom);
    for (int i = 0; i < 5; ++i) {
        number(15 + i, p.LastCategory[i]);
    }
    flag(23, p.ShowPrivateAtStart);
    flag(24, p.reservedFlag24);
    number(25, p.IdleAction);
    number(26, p.FirstDayOfWeek);
    flag(27, p.CalendarDisplayPrivate);
    flag(28, p.Birthday2Calendar);
    flag(29, p.Anniversary2Calendar);
    return p;
}
