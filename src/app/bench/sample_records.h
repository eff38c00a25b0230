#pragma once

#include "budget/transaction.h"
#include "calendar/appointment.h"
#include "sections/contacts/contact.h"
#include "sections/tasks/task.h"
#include "sections/vault/vault.h"

#include <QDate>
#include <QString>
#include <QStringList>

#include <array>
#include <cstddef>
#include <random>

// Made-up records that read like a person's, for the workloads that fill a file: the same seed gives the same
// records, so that two runs, and two workloads, time the same data.
namespace bench {

constexpr int kPrivateOneIn = 10;
// A new vault record starts private; some are opened up.
constexpr int kVaultOpenOneIn = 5;
constexpr int kCompanyOnlyPercent = 5;
constexpr int kWithCompanyPercent = 25;

extern const std::array<const char*, 16> kMemoSubjects;
extern const std::array<const char*, 16> kTaskSubjects;
extern const std::array<const char*, 12> kMemoSentences;
extern const std::array<const char*, 10> kDiarySentences;

int Below(std::mt19937& rng, int n);
int Between(std::mt19937& rng, int low, int high);

template <std::size_t N> QString Pick(std::mt19937& rng, const std::array<const char*, N>& texts) {
    return QString::fromUtf8(texts[static_cast<std::size_t>(Below(rng, static_cast<int>(N)))]);
}

// A text of about `length` characters made of the given sentences, in paragraphs.
template <std::size_t N> QString Prose(std::mt19937& rng, const std::array<const char*, N>& sentences, int length) {
    QString text;
    text.reserve(length + 100);
    int inParagraph = 0;
    while (text.size() < length) {
        text += QLatin1String(sentences[static_cast<std::size_t>(Below(rng, static_cast<int>(N)))]);
        if (++inParagraph == 5) {
            text += QStringLiteral("\r\n\r\n");
            inParagraph = 0;
        } else {
            text += u' ';
        }
    }
    text.truncate(length);
    return text.trimmed();
}

// One of `patterns`, a "%1" in it filled with `date`.
template <std::size_t N>
QString Subject(std::mt19937& rng, const std::array<const char*, N>& patterns, const QDate& date) {
    const QString pattern = Pick(rng, patterns);
    return pattern.contains(QLatin1String("%1")) ? pattern.arg(date.toString(QStringLiteral("d MMM yyyy"))) : pattern;
}

// Most memos are a few lines; some run to pages.
int MemoLength(std::mt19937& rng);
// Most tasks are of normal priority, some high, a few low.
int TaskPriority(std::mt19937& rng);

// A person, some with their company and a few companies alone, most with a mobile number or a mail address as the
// primary contact; no categories.
contacts::Contact NewContact(std::mt19937& rng, int owner);
// "Last, First", or the company when there is no name, as the editor offers first.
QString FileAs(const contacts::Contact& contact);

// A vault record of `subCategory` with every field its `labels` name filled, a password field with a password of
// its own, and sometimes a note.
vault::Entry NewVaultEntry(std::mt19937& rng, int owner, int subCategory, const QStringList& labels);

// The fields every appointment gets, single or series: owner, private flag, alarm, subject, location, notes.
CALENDAR::Appointment NewAppointment(std::mt19937& rng, int owner, bool allDay);

// A day's shopping, a bill, a salary and the like, paid on `date`, in one of `categories` named categories or
// "Unfiled" and one of `payModes` payment modes.
budget::Transaction NewTransaction(std::mt19937& rng, int owner, const QDate& date, int categories, int payModes);

} // namespace bench
