#include "shell/catalogue/caption_tables.h"

namespace captions {
namespace {

using P = CaptionProperty;

constexpr CaptionEntry kPassphraseEntries[] = {
    {nullptr, -1, P::Caption, "Noctaria"},
    {"chkShowClear", -1, P::Caption, "Show Passphrase in clear"},
    {"chkPwLength", -1, P::Caption, "Minimum 8 characters"},
    {"chkConfirm", -1, P::Caption, "Confirm passphrase"},
    {"chkCheckPWquality", -1, P::Caption, "Check passphrase strength"},
    {"cmdOK", -1, P::Caption, "OK"},
    {"cmdCancel", -1, P::Caption, "Cancel"},
};

constexpr CaptionEntry kMenuDBEntries[] = {
    {nullptr, -1, P::Caption, "DB menu"},
    {"lblPrompt", -1, P::Caption, "No database is open. What would you like to do?"},
    {"cmdNewDB", -1, P::Caption, "Create a &new database..."},
    {"cmdOldDB", -1, P::Caption, "&Open an existing database..."},
    {"cmdCancel", -1, P::Caption, "Cancel"},
};

constexpr CaptionEntry kTipEntries[] = {
    {nullptr, -1, P::Caption, "Tip of the Day"},
    {"chkLoadTipsAtStartup", -1, P::Caption, "Show tips at startup"},
    {"cmdNextTip", -1, P::Caption, "&Next Tip"},
    {"cmdOK", -1, P::Caption, "OK"},
};

constexpr CaptionEntry kSplashEntries[] = {
    {nullptr, -1, P::Caption, "Noctaria"},
    {"lblProduct", -1, P::Caption, "Noctaria"},
};

} // namespace

const std::span<const CaptionEntry> kPassphrase = kPassphraseEntries;
const std::span<const CaptionEntry> kMenuDB = kMenuDBEntries;
const std::span<const CaptionEntry> kTip = kTipEntries;
const std::span<const CaptionEntry> kSplash = kSplashEntries;

} // namespace captions
