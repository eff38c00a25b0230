#include "shell/catalogue/caption_tables.h"

namespace captions {
namespace {

using P = CaptionProperty;

// The backup form's title and folder label depend on what it is asked for; they are set by the form itself.
constexpr CaptionEntry kBackupEntries[] = {
    {nullptr, -1, P::Caption, "Backup"},
    {"lblBackupTo", -1, P::Caption, "Backup To Folder"},
    {"cmdChangeDir", -1, P::Caption, "Change Folder..."},
    {"cmdChangeDir", -1, P::ToolTipText, "Select a folder"},
    {"cmdBackup", -1, P::Caption, "Backup"},
    {"cmdCancel", -1, P::Caption, "Cancel"},
};

constexpr CaptionEntry kRestoreEntries[] = {
    {nullptr, -1, P::Caption, "Restore"},
    {"lblBackupFolder", -1, P::Caption, "Backup Folder"},
    {"lblRestoreTo", -1, P::Caption, "Restore To Folder"},
    {"cmdChangeDir", 0, P::Caption, "Change..."},
    {"cmdChangeDir", 1, P::Caption, "Change..."},
    {"cmdDelete", -1, P::Caption, "Delete"},
    {"cmdRestore", -1, P::Caption, "Restore"},
    {"cmdCancel", -1, P::Caption, "Cancel"},
};

} // namespace

const std::span<const CaptionEntry> kBackup = kBackupEntries;
const std::span<const CaptionEntry> kRestore = kRestoreEntries;

} // namespace captions
