#include "shell/options.h"

#include "base/messages.h"
#include "shell/section_table.h"
#include "store/codepage.h"
#include "store/users.h"

#include <algorithm>

namespace options {
namespace {

constexpr char kListVersion = 9;
constexpr char kSeparator = 17;

} // namespace

int LoadOptions(Store& store) {
    return users::LoadPreferences(store);
}

Preferences DefaultOptions() {
    return Preferences::Defaults();
}

int SaveOptions(Store& store) {
    const int error = users::SavePreferences(store);
    if (error != 0) {
        store.prompter.message(83, MsgText(83) + QStringLiteral("778"), Prompter::Buttons::Ok,
                               Prompter::Icon::Critical);
        return StoreError::Fatal;
    }
    return 0;
}

QString DefaultUserFieldLabel(int index) {
    return QStringLiteral("User Def %1").arg(index + 1);
}

QByteArray UserFieldLabelsBytes(const QStringList& labels) {
    QByteArray stored(1, kListVersion);
    for (int i = 0; i < kUserFieldCount; ++i) {
        if (i > 0) {
            stored += kSeparator;
        }
        QString label = i < labels.size() ? labels[i] : QString();
        // The separator cannot be part of a label, or the labels behind it would shift.
        label.remove(QChar(kSeparator));
        stored += codepage::ToBytes(label);
    }
    return stored;
}

QStringList UserFieldLabelsFrom(const QByteArray& stored) {
    QByteArray body = stored;
    if (body.startsWith(kListVersion)) {
        body.remove(0, 1);
    }
    const QList<QByteArray> parts = body.split(kSeparator);
    QStringList labels;
    for (int i = 0; i < kUserFieldCount; ++i) {
        const QString label = i < parts.size() ? codepage::FromBytes(parts[i]) : QString();
        labels << (label.isEmpty() ? DefaultUserFieldLabel(i) : label);
    }
    return labels;
}

QStringList LoadUserFieldLabels(Store& store) {
    return UserFieldLabelsFrom(users::LoadListSettings(store));
}

int SaveUserFieldLabels(Store& store, const QStringList& labels) {
    return users::SaveListSettings(store, UserFieldLabelsBytes(labels));
}

int StepTime(int minutes, int step) {
    switch (step) {
    case -15:
        return minutes >= 15 ? minutes - 15 : minutes;
    case 15:
        return minutes <= 1410 ? minutes + 15 : minutes;
    case -60:
        return minutes >= 60 ? minutes - 60 : 0;
    case 60:
        return minutes <= 1365 ? minutes + 60 : kLastTimeOfDay;
    default:
        return minutes;
    }
}

void KeepWorkdayInOrder(WorkTimes& times, bool startMoved) {
    if (times.WorkdayStart >= times.WorkdayEnd) {
        if (startMoved) {
            times.WorkdayEnd = times.WorkdayStart;
        } else {
            times.WorkdayStart = times.WorkdayEnd;
        }
    }
}

WorkTimes SpinTime(WorkTimes times, int control, int direction) {
    if (control < 0 || control > 5 || direction == 0) {
        return times;
    }
    const int step = (control < 3 ? 60 : 15) * (direction > 0 ? 1 : -1);
    switch (control % 3) {
    case 0:
        times.WorkdayStart = StepTime(times.WorkdayStart, step);
        KeepWorkdayInOrder(times, true);
        break;
    case 1:
        times.WorkdayEnd = StepTime(times.WorkdayEnd, step);
        KeepWorkdayInOrder(times, false);
        break;
    default:
        times.DisplayFrom = StepTime(times.DisplayFrom, step);
        break;
    }
    return times;
}

QString TimeText(int minutes) {
    return QStringLiteral("%1:%2")
        .arg(minutes / 60, 2, 10, QLatin1Char('0'))
        .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

int StepIdle(int minutes, int direction) {
    return std::clamp(minutes + (direction > 0 ? 1 : direction < 0 ? -1 : 0), 0, kMaxIdleMinutes);
}

QList<int> OfferedSections(const QList<int>& sectionList) {
    QList<int> offered;
    const bool all = sectionList.isEmpty() || sectionList.contains(0);
    for (const SectionInfo& info : sections::Table()) {
        if (all || sectionList.contains(sections::Number(info.id))) {
            offered << sections::Number(info.id);
        }
    }
    // In the order of the list the build gives, or by number for every section.
    std::sort(offered.begin(), offered.end(), [&sectionList, all](int a, int b) {
        return all ? a < b : sectionList.indexOf(a) < sectionList.indexOf(b);
    });
    return offered;
}

std::int32_t PinMaskOf(const QList<bool>& checked) {
    std::int32_t mask = 0;
    for (int i = 0; i < kPinBoxCount && i < checked.size(); ++i) {
        if (checked[i]) {
            mask |= std::int32_t{1} << i;
        }
    }
    return mask;
}

bool PinMaskHas(std::int32_t mask, int box) {
    return box >= 0 && box < 31 && (mask & (std::int32_t{1} << box)) != 0;
}

bool TakePinValues(UserOptions& options, const QString& pin, std::int32_t mask, bool everyAccess) {
    bool changed = false;
    if (pin != options.PinCode) {
        options.PinCode = pin;
        changed = true;
    }
    if (mask != options.PinMask) {
        options.PinMask = mask;
        changed = true;
    }
    if (everyAccess != options.PinEveryAccess) {
        options.PinEveryAccess = everyAccess;
        changed = true;
    }
    return changed;
}

} // namespace options
