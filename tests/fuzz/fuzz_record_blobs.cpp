// The records read through the field codec, each on any bytes: the preferences, a user's options, a budget
// transaction, a memo, a task, a vault record and a diary entry.

#include "fuzz_support.h"

#include "budget/transaction.h"
#include "sections/diary/diary.h"
#include "sections/memos/memo.h"
#include "sections/tasks/task.h"
#include "sections/vault/vault.h"
#include "store/preferences.h"
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
    diary::DiaryEntry entry;
    diary::DecodeDiaryBlob(blob, entry);
    return 0;
}
