// The records read through the field codec, each on any bytes: the preferences, a user's options, a budget
// transaction, a memo, a task, a vault record, a contact with its pane and its category column, a diary entry and
// an appointment, whose rule is expanded as the views would ask for it, as are the bytes themselves taken for a
// rule; and what Find lists of a hit in each section.

#include "fuzz_support.h"

#include "budget/transaction.h"
#include "calendar/appointment.h"
#include "sections/contacts/contact.h"
#include "sections/contacts/contact_list.h"
#include "sections/contacts/contact_pane.h"
#include "sections/diary/diary.h"
#include "sections/find/find_sections.h"
#include "sections/memos/memo.h"
#include "sections/tasks/task.h"
#include "sections/vault/vault.h"
#include "store/preferences.h"
#include "store/record_get.h"
#include "store/store.h"
#include "store/users.h"
#include "support/scripted_prompter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray blob = fuzz::Bytes(data, size);
    bool ok = false;
    Preferences::FromBlob(blob, &ok);

    // With a passphrase check at hand, options that do not read fall back on the default PIN without asking.
    static ScriptedPrompter prompter;
    static Store store(prompter);
    store.PassCheck = CRY::SecureBytes(20, 7);
    users::LoadUserOptions(store, blob);

    budget::Transaction transaction;
    budget::DecodeTransactionBlob(blob, transaction);
    memos::Memo memo;
    memos::DecodeMemoBlob(blob, memo);
    tasks::Task task;
    tasks::DecodeTaskBlob(blob, task);
    vault::Entry vaultEntry;
    vault::DecodeEntryBlob(blob, vaultEntry);
    contacts::Contact contact;
    contacts::DecodeContactBlob(blob, contact);
    contact.categories = contacts::CategoriesOfRow(blob, static_cast<std::int64_t>(size));
    contacts::ShowContactPane(contact, {}, QString::fromLatin1(blob)).text();
    contacts::ListedIn(blob, static_cast<std::int64_t>(size), 1);
    diary::DiaryEntry entry;
    diary::DecodeDiaryBlob(blob, entry);
    CALENDAR::Appointment appointment;
    CALENDAR::DecodeAppointmentBlob(blob, appointment);
    for (const QByteArray& redo : {appointment.redo, blob}) {
        for (const QDate& day : {QDate(2026, 2, 1), CALENDAR::LowerLimitDate(), CALENDAR::UpperLimitDate()}) {
            const CALENDAR::DayRange month = CALENDAR::ViewRange(day, CALENDAR::MonthView, 2);
            CALENDAR::ExpandSeries(std::max(month.first, CALENDAR::LowerLimitDate()),
                                   std::min(month.last, CALENDAR::UpperLimitDate()),
                                   CALENDAR::MinuteOfDay(appointment.start), redo, 2);
        }
    }
    // What Find lists of a hit, from the fields and columns of any record, in every section.
    FieldValues fields;
    Record_Get::GetRecord(fields, blob);
    Row row;
    for (const Col column : {Col::fPK, Col::fSec, Col::fSub, Col::fR3, Col::fF1, Col::fF3}) {
        row.setValue(column, static_cast<qint64>(size) * 7919 - 65536);
    }
    row.setValue(Col::fT1, blob);
    row.setValue(Col::fT2, blob.mid(1));
    static CRY cry;
    cry.setKeyPool(CRY::SecureBytes(blob.begin(), blob.end()));
    for (const find::SearchableSection& section : find::SearchableSections()) {
        section.describe(cry, row, fields);
    }
    return 0;
}
