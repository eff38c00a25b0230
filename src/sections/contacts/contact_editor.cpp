#include "sections/contacts/contact_editor.h"

#include "base/messages.h"
#include "calendar/appointment.h"
#include "calendar/recurrence.h"
#include "sections/categories/categories.h"
#include "store/store.h"

namespace contacts {

namespace {

constexpr int kBirthdayWord = 78;
constexpr int kAnniversaryWord = 385;
// One row stays free for a slot the person has yet to fill in.
constexpr int kFilledRowsAtMost = kComRows - 1;

constexpr std::array<int, kAddressSets> kAddressBases{HomeAddressStreet, BusinessAddressStreet, OtherAddressStreet};

QString Joined(const QString& a, const QString& separator, const QString& b) {
    return a.isEmpty() || b.isEmpty() ? QString() : a + separator + b;
}

QString NameIn(const QString& last, const QString& first, NameOrder order) {
    if (last.isEmpty() || first.isEmpty()) {
        return last.isEmpty() ? first : last;
    }
    return order == NameOrder::LastFirst ? last + QStringLiteral(", ") + first : first + u' ' + last;
}

NameOrder Other(NameOrder order) {
    return order == NameOrder::LastFirst ? NameOrder::FirstLast : NameOrder::LastFirst;
}

// A date's first occurrence as the calendar can hold it; the same as a new yearly event takes.
QDate YearlyFirstDay(const QDate& date) {
    using namespace CALENDAR;
    if (date < LowerLimitDate()) {
        return QDate(LowerLimitDate().year() + 1, date.month(), 1).addDays(date.day() - 1);
    }
    if (date >= UpperLimitDate()) {
        return QDate(UpperLimitDate().year() - 1, date.month(), 1).addDays(date.day() - 1);
    }
    return date;
}

QByteArray YearlyRule(const QDate& first) {
    using namespace CALENDAR;
    Recurrence rule;
    rule.kind = RedoYearDay;
    rule.a = static_cast<std::uint8_t>(first.day());
    rule.b = static_cast<std::uint8_t>(first.month());
    rule.startDay = RedoDay(first);
    rule.endDay = RedoDay(QDate(UpperLimitDate().year() - 1, first.month(), 1).addDays(first.day() - 1));
    return RecurrenceString(rule);
}

// The contact's appointment is found again by what it shows, not by a stored key: the record format has no
// field for a key, and the reserved and Outlook fields travel into every export. A yearly series is filed by
// its month in fSub, so only that month's few series are opened.
std::optional<CALENDAR::Appointment> FindYearly(Store& store, const QDate& date, const QString& subject) {
    using namespace CALENDAR;
    const QDate first = YearlyFirstDay(date);
    const int marker = kYearlySeries + 4 * (first.month() - 1);
    sqlite::Statement select =
        store.connection().prepare("SELECT fPK FROM tt WHERE fSec=? AND fSub>=? AND fSub<=? ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(kAppointmentSection))
        .bind(2, static_cast<std::int64_t>(marker))
        .bind(3, static_cast<std::int64_t>(marker + 3));
    QVector<std::int32_t> keys;
    while (select.step()) {
        keys.append(static_cast<std::int32_t>(select.int64(0)));
    }
    for (const std::int32_t key : keys) {
        const std::optional<Appointment> appointment = LoadAppointment(store, key);
        if (!appointment || appointment->owner != store.user.level || !appointment->allDay ||
            appointment->subject != subject) {
            continue;
        }
        const std::optional<Recurrence> rule = ParseRecurrence(appointment->redo);
        if (rule && rule->kind == RedoYearDay && rule->a == first.day() && rule->b == first.month()) {
            return appointment;
        }
    }
    return std::nullopt;
}

Result MoveYearly(Store& store, CALENDAR::Appointment& appointment, const QDate& date, const QString& subject,
                  bool isPrivate, const QDate& today) {
    using namespace CALENDAR;
    const QDate first = YearlyFirstDay(date);
    const std::int64_t start = MinuteOf(first);
    const QByteArray redo = YearlyRule(first);
    if (appointment.start == start && appointment.redo == redo && appointment.subject == subject &&
        appointment.isPrivate == isPrivate) {
        return {};
    }
    // Alarm, location and note are the person's own additions in the calendar and stay.
    appointment.start = start;
    appointment.end = start + kMinutesPerDay;
    appointment.redo = redo;
    appointment.subject = subject;
    appointment.isPrivate = isPrivate;
    return StoreAppointment(store, appointment, today);
}

Result TakeIntoCalendar(Store& store, const Contact& loaded, const Contact& typed, YearlyDate which,
                        const QDate& today) {
    const bool birthday = which == YearlyDate::Birthday;
    const QDate date = birthday ? typed.birthday : typed.anniversary;
    const QDate before = birthday ? loaded.birthday : loaded.anniversary;
    const QString subject = YearlySubject(typed.fileAs, which);
    std::optional<CALENDAR::Appointment> existing;
    if (before.isValid() && !loaded.fileAs.isEmpty()) {
        existing = FindYearly(store, before, YearlySubject(loaded.fileAs, which));
    }
    if (!existing) {
        existing = FindYearly(store, date, subject);
    }
    if (!existing) {
        return CALENDAR::AddYearlyEvent(store, date, subject, typed.isPrivate, today);
    }
    return MoveYearly(store, *existing, date, subject, typed.isPrivate, today);
}

// Short formats with a two-digit year would read a birthday back a century off.
QString FourDigitYearFormat(const QLocale& locale) {
    QString format = locale.dateFormat(QLocale::ShortFormat);
    if (!format.contains(QStringLiteral("yyyy"))) {
        format.replace(QStringLiteral("yy"), QStringLiteral("yyyy"));
    }
    return format;
}

} // namespace

const QVector<int>& DefaultComSort() {
    static const QVector<int> slots{0, 2, 5, 7, 10, 13, 16, 18, 19, 20};
    return slots;
}

QVector<int> ReadComSort(const QString& text) {
    const QStringList numbers = text.split(u' ', Qt::SkipEmptyParts);
    if (numbers.size() != kComRows) {
        return DefaultComSort();
    }
    QVector<int> slots;
    for (const QString& number : numbers) {
        bool ok = false;
        const int slot = number.toInt(&ok);
        if (!ok || slot < 0 || slot >= kShownSlots) {
            return DefaultComSort();
        }
        slots.append(slot);
    }
    return slots;
}

QString BuildComSort(const Contact& contact) {
    QVector<int> slots;
    for (int slot = 0; slot < kShownSlots && slots.size() < kFilledRowsAtMost; ++slot) {
        if (!contact.slot(slot).isEmpty()) {
            slots.append(slot);
        }
    }
    for (const int slot : DefaultComSort()) {
        if (slots.size() < kComRows && !slots.contains(slot)) {
            slots.append(slot);
        }
    }
    QStringList numbers;
    for (const int slot : slots) {
        numbers << QString::number(slot);
    }
    return numbers.join(u' ');
}

ComRows::ComRows(const Contact& contact)
    : m_rowSlots(ReadComSort(contact.texts[ComSort])) {
    for (int slot = 0; slot < kSlotCount; ++slot) {
        m_values[slot] = contact.slot(slot);
    }
    m_primaryRow = static_cast<int>(m_rowSlots.indexOf(contact.comDisplay));
}

QStringList ComRows::ChooserLabels() {
    QStringList labels;
    for (int slot = 0; slot < kShownSlots; ++slot) {
        labels << SlotLabel(slot);
    }
    return labels;
}

void ComRows::chooseSlot(int row, int slot) {
    if (slot >= 0 && slot < kShownSlots) {
        m_rowSlots[row] = slot;
    }
}

void ComRows::applyTo(Contact& contact) const {
    for (int slot = 0; slot < kSlotCount; ++slot) {
        contact.texts[kFirstSlot + slot] = m_values[slot];
    }
    if (m_primaryRow >= 0) {
        contact.comDisplay = m_rowSlots[m_primaryRow];
    }
}

std::array<int, 5> AddressFields(int option) {
    const int base = kAddressBases[static_cast<std::size_t>(option)];
    return {base, base + 1, base + 2, base + 3, base + 4};
}

QStringList FileAsCandidates(const Contact& contact, NameOrder order) {
    const QString last = contact.texts[LastName].trimmed();
    const QString first = contact.texts[FirstName].trimmed();
    const QString company = contact.texts[CompanyName].trimmed();
    const QString name = NameIn(last, first, order);
    const QString otherOrder = last.isEmpty() || first.isEmpty() ? QString() : NameIn(last, first, Other(order));
    const QString comma = QStringLiteral(", ");
    const QString all[] = {name,
                           otherOrder,
                           company,
                           Joined(name, comma, company),
                           Joined(company, comma, name),
                           Joined(Joined(last, comma, first), comma, company)};
    QStringList candidates;
    for (const QString& candidate : all) {
        if (!candidate.isEmpty() && !candidates.contains(candidate)) {
            candidates << candidate;
        }
    }
    return candidates;
}

FileAsChoice RebuildFileAs(const Contact& contact, const QString& chosenBefore, NameOrder order) {
    FileAsChoice choice{.candidates = FileAsCandidates(contact, order), .chosen = {}};
    if (choice.candidates.contains(chosenBefore)) {
        choice.chosen = chosenBefore;
    } else if (!choice.candidates.isEmpty()) {
        choice.chosen = choice.candidates.first();
    }
    return choice;
}

Result CheckFileAs(const QString& fileAs) {
    return fileAs.trimmed().isEmpty() ? Result::Message(15) : Result();
}

bool ChangedSinceLoaded(const Contact& loaded, const Contact& typed) {
    for (int field = 0; field < kFieldCount; ++field) {
        if (field != ComSort && loaded.texts[field] != typed.texts[field]) {
            return true;
        }
    }
    return loaded.owner != typed.owner || loaded.isPrivate != typed.isPrivate || loaded.priority != typed.priority ||
           loaded.birthday != typed.birthday || loaded.anniversary != typed.anniversary ||
           loaded.comDisplay != typed.comDisplay || loaded.fileAs != typed.fileAs ||
           loaded.categories != typed.categories;
}

QString DateText(const QDate& date, const QLocale& locale) {
    return date.isValid() && date != NoDate() ? locale.toString(date, FourDigitYearFormat(locale)) : QString();
}

std::optional<QDate> DateOfText(const QString& text, const QLocale& locale) {
    if (text.trimmed().isEmpty()) {
        return QDate();
    }
    const QDate date = locale.toDate(text.trimmed(), FourDigitYearFormat(locale));
    if (!date.isValid()) {
        return std::nullopt;
    }
    return date == NoDate() ? QDate() : date;
}

QVector<int> EditorCategories(int primary, const QVector<int>& chosen) {
    QVector<int> filed;
    const auto file = [&](int category) {
        if (category > 0 && category != categories::kEditCommand && !filed.contains(category)) {
            filed.append(category);
        }
    };
    file(primary);
    for (const int category : chosen) {
        file(category);
    }
    return filed;
}

QString YearlySubject(const QString& fileAs, YearlyDate which) {
    return fileAs + QStringLiteral(" (") + MsgText(which == YearlyDate::Birthday ? kBirthdayWord : kAnniversaryWord) +
           u')';
}

std::int32_t FindYearlyEvent(Store& store, const QDate& date, const QString& subject) {
    const std::optional<CALENDAR::Appointment> found = FindYearly(store, date, subject);
    return found ? found->key : 0;
}

Result SaveContactFromEditor(Store& store, const Contact& loaded, Contact& typed, const CalendarRequest& request,
                             const QDate& today) {
    const std::int32_t keyBefore = typed.key;
    typed.texts[ComSort] = BuildComSort(typed);
    sqlite::Savepoint transaction(store.connection());
    if (sqlite::Error e = transaction.begin()) {
        return Result::Engine(e.number);
    }
    Result result = StoreContact(store, typed);
    const Preferences& settings = store.preferences;
    if (result.ok() && request.birthday && settings.Birthday2Calendar && typed.birthday.isValid()) {
        result = TakeIntoCalendar(store, loaded, typed, YearlyDate::Birthday, today);
    }
    if (result.ok() && request.anniversary && settings.Anniversary2Calendar && typed.anniversary.isValid()) {
        result = TakeIntoCalendar(store, loaded, typed, YearlyDate::Anniversary, today);
    }
    if (result.ok()) {
        result = Result::Engine(transaction.release().number);
    }
    // A rolled-back new contact has no row to point at.
    if (!result.ok()) {
        typed.key = keyBefore;
    }
    return result;
}

} // namespace contacts
