#pragma once

// One record in every section Find searches, each holding a given word, for the tests of Find.

#include "budget/budget_lists.h"
#include "budget/transaction.h"
#include "calendar/appointment.h"
#include "sections/contacts/contact.h"
#include "sections/diary/diary.h"
#include "sections/memos/memo.h"
#include "sections/tasks/task.h"
#include "sections/vault/vault.h"
#include "store/store.h"

#include <QDateTime>

#include <map>

namespace find_records {

inline const QDate kDay{2026, 3, 17};

// Writes a record holding `word` into `section`; its key, or 0 when it could not be stored.
inline std::int32_t Write(Store& store, int section, const QString& word, bool isPrivate = false) {
    const int owner = store.user.level;
    const QDateTime now(kDay, QTime(9, 30));
    switch (section) {
    case contacts::kContactSection: {
        contacts::Contact c;
        c.owner = owner;
        c.isPrivate = isPrivate;
        c.texts[contacts::LastName] = QStringLiteral("Lindqvist");
        c.texts[contacts::FirstName] = QStringLiteral("Maja");
        c.texts[contacts::Notes] = QStringLiteral("met at the ") + word + QStringLiteral(" fair");
        c.fileAs = QStringLiteral("Lindqvist, Maja");
        return contacts::StoreContact(store, c).ok() ? c.key : 0;
    }
    case CALENDAR::kAppointmentSection: {
        CALENDAR::Appointment a;
        a.owner = owner;
        a.isPrivate = isPrivate;
        a.start = CALENDAR::MinuteOf(kDay, 10 * 60);
        a.end = a.start + 60;
        a.subject = QStringLiteral("Dentist ") + word;
        return CALENDAR::StoreAppointment(store, a, kDay).ok() ? a.key : 0;
    }
    case diary::kDiarySection: {
        diary::DiaryEntry e{-1, owner, kDay, QStringLiteral("Walked to the ") + word};
        return diary::StoreDiaryDay(store, e).ok() ? e.key : 0;
    }
    case memos::kMemoSection: {
        memos::Memo m = memos::NewMemo(owner, 0, QStringLiteral("Shopping ") + word, now);
        m.isPrivate = isPrivate;
        m.text = QStringLiteral("bread, milk");
        return memos::StoreMemo(store, m, now).ok() ? m.key : 0;
    }
    case tasks::kTaskSection: {
        tasks::Task t;
        t.owner = owner;
        t.isPrivate = isPrivate;
        t.subject = QStringLiteral("Call ") + word;
        t.due = kDay;
        return tasks::StoreTask(store, t).ok() ? t.key : 0;
    }
    case vault::kVaultSection: {
        vault::Entry e = vault::NewEntry(owner, 0);
        e.isPrivate = isPrivate;
        e.values[0] = QStringLiteral("Bank ") + word;
        e.notes = QStringLiteral("branch office");
        return vault::StoreEntry(store, e, now).ok() ? e.key : 0;
    }
    case budget::kBudgetSection: {
        budget::Transaction t = budget::ClearTransaction(owner, 0, kDay);
        t.isPrivate = isPrivate;
        t.description = QStringLiteral("Groceries ") + word;
        t.amount = Currency::FromUnits(1250);
        return budget::StoreTransaction(store, 1, t).ok() ? t.key : 0;
    }
    default:
        return 0;
    }
}

// One record of each section holding `word`, by section.
inline std::map<int, std::int32_t> WriteOneOfEach(Store& store, const QString& word) {
    std::map<int, std::int32_t> keys;
    for (const int section : {11, 12, 13, 14, 15, 16, 17}) {
        keys[section] = Write(store, section, word);
    }
    return keys;
}

} // namespace find_records
