#include "store/store.h"

Record_Get::TitleAccess Store::titleAccess() const {
    Record_Get::TitleAccess access;
    access.hidePrivate = hidePrivate;
    access.owner = static_cast<std::uint8_t>(user.level);
    return access;
}

void Store::wipeSecrets() {
    CRY::WipeBytes(PassDigest);
    CRY::WipeBytes(PassCheck);
    CRY::WipeBytes(user.sealedKeystring);
    CRY::WipeBytes(user.check);
    cry.wipeKeys();
    openedTitles.clear();
}
