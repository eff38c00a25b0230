#include "store/preferences.h"

#include "store/field_codec.h"
#include "store/record_get.h"
#include "store/record_put.h"

#include <QLocale>

#include <cmath>
#include <map>

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

namespace {

// The stored items of the record: index, type and the member each one holds. One table serves both ways.
struct NumberItem {
    int index;
    std::uint8_t type;
    int Preferences::*member;
};
struct FlagItem {
    int index;
    bool Preferences::*member;
};
struct TimeItem {
    int index;
    int Preferences::*member;
};

constexpr NumberItem kNumbers[] = {
    {0, FieldType::Int16, &Preferences::IdleMinutes},    {4, FieldType::Byte, &Preferences::StartSection},
    {5, FieldType::Byte, &Preferences::StartMode},       {6, FieldType::Byte, &Preferences::TodoShowCompleted},
    {7, FieldType::Byte, &Preferences::reserved7},       {8, FieldType::Byte, &Preferences::DiaryShow},
    {9, FieldType::Byte, &Preferences::CatShow},         {10, FieldType::Byte, &Preferences::CalView},
    {11, FieldType::Int32, &Preferences::AppDuration},   {25, FieldType::Byte, &Preferences::IdleAction},
    {26, FieldType::Byte, &Preferences::FirstDayOfWeek},
};
constexpr FlagItem kFlags[] = {
    {23, &Preferences::ShowPrivateAtStart},     {24, &Preferences::reservedFlag24},
    {27, &Preferences::CalendarDisplayPrivate}, {28, &Preferences::Birthday2Calendar},
    {29, &Preferences::Anniversary2Calendar},
};
constexpr TimeItem kTimes[] = {
    {12, &Preferences::WorkdayStart},
    {13, &Preferences::WorkdayEnd},
    {14, &Preferences::DisplayFrom},
};
constexpr int kFirstLastCategory = 15;

} // namespace

QByteArray Preferences::toBlob() const {
    // Items go out in index order, as every writer of the record puts them.
    std::map<int, QByteArray> items;
    for (const NumberItem& item : kNumbers) {
        items[item.index] = Record_Put::PutField(this->*item.member, item.type, item.index);
    }
    for (const TimeItem& item : kTimes) {
        items[item.index] = Record_Put::PutField(DayFraction(this->*item.member), FieldType::Fraction, item.index);
    }
    for (int i = 0; i < 5; ++i) {
        items[kFirstLastCategory + i] = Record_Put::PutField(LastCategory[i], FieldType::Int16, kFirstLastCategory + i);
    }
    for (const FlagItem& item : kFlags) {
        items[item.index] = Record_Put::PutField(this->*item.member, FieldType::Boolean, item.index);
    }
    QByteArray blob;
    for (const auto& [index, item] : items) {
        blob += item;
    }
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
    for (const NumberItem& item : kNumbers) {
        if (has(item.index)) {
            p.*item.member = values[item.index].toInt();
        }
    }
    for (const TimeItem& item : kTimes) {
        if (has(item.index)) {
            p.*item.member = MinutesOf(values[item.index].toDouble());
        }
    }
    for (int i = 0; i < 5; ++i) {
        if (has(kFirstLastCategory + i)) {
            p.LastCategory[i] = values[kFirstLastCategory + i].toInt();
        }
    }
    for (const FlagItem& item : kFlags) {
        if (has(item.index)) {
            p.*item.member = values[item.index].toBool();
        }
    }
    return p;
}
