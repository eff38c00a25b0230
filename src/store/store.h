#pragma once

#include "store/byte_view.h"
#include "store/category_directory.h"
#include "store/cry.h"
#include "store/db.h"
#include "store/preferences.h"
#include "store/prompter.h"
#include "store/record_get.h"
#include "store/title_cache.h"

#include <QString>

#include <bitset>
#include <map>

// Results of store operations beyond the engine's error numbers. A negative number's absolute value is a
// catalogue message.
namespace StoreError {
constexpr int WrongPassphrase = -85;
constexpr int TooShort = -40;
constexpr int Cancelled = -98;
constexpr int ConversionFailed = -1;
// The operation met a condition that ends the program; the person has been told.
constexpr int Fatal = -10000;
// The file cannot be opened by this program at all; the person has been told.
constexpr int Unsupported = -10001;
} // namespace StoreError

// The PIN settings kept with a user.
struct UserOptions {
    int level = 0;
    QString PinCode;
    std::int32_t PinMask = 0; // bit 2^(section - 11) for the sections 11 to 16 behind the PIN
    bool PinEveryAccess = false;
};

// The logged-in user, as read from the user's row.
struct UserRecord {
    std::int32_t fPK = 0;
    int level = 0;
    QByteArray check;           // Hash1x47 of the passphrase digest
    QByteArray sealedKeystring; // the keystring sealed under the passphrase digest
    bool first = true;
    bool second = true;
    std::int32_t number = 0;
    QString name;
    UserOptions options;
};

// The program's version as the version record stores it.
struct VersionInfo {
    int major = 0;
    int minor = 0;
    int revision = 0;
};

// The state of the one open database: its file, the cipher layer with the key pool, the logged-in user, the
// passphrase digest while the file is open, and whom to ask. Tests make as many as they like.
class Store {
public:
    explicit Store(Prompter& prompter, RandomSource& random = StrongRandom())
        : cry(random)
        , prompter(prompter) {}

    CRY cry;
    db::Database database;
    UserRecord user;
    Preferences preferences = Preferences::Defaults();
    VersionInfo DbVersion;
    CRY::SecureBytes PassDigest; // lives while the file is open
    CRY::SecureBytes PassCheck;  // lives until the open sequence ends; seeds the default PIN
    bool hidePrivate = false;
    // The budgets whose PIN was given while this file is open, and the budget last shown.
    std::bitset<256> budgetPinGiven;
    int lastBudget = 0;
    // The category each section showed last, by section number, while this file is open.
    std::map<int, int> lastCategory;
    CategoryDirectory categories;
    TitleCache openedTitles;
    // Set by every change of records; the calendar reads its rows again only when it is set.
    bool NeedRequery = true;
    Prompter& prompter;

    sqlite::Connection& connection() { return database.connection(); }
    RandomSource& random() { return cry.random(); }
    // Who reads titles now: the user's owner byte and the private switch.
    Record_Get::TitleAccess titleAccess() const;
    // Wipes the digests, the user's sealed keystring, the key pool and the titles opened.
    void wipeSecrets();
};
