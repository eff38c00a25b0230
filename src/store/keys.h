#pragma once

#include "store/store.h"

#include <functional>

// Key material: the key pool that yields every record key, sealed under a random keystring, which is sealed per
// user under the passphrase digest. The passphrase never touches a record, and changing it touches one row.
namespace keys {

constexpr int kKeystringBytes = 43;
constexpr int kPoolBytes = 270; // 2^8 + 16 - 2

// Makes the keystring and the pool of a new file, both pool rows and the first user "Admin", in one
// transaction. Needs the passphrase digests in `store`. Returns 0, Fatal or an engine error.
int CreateKeyMaterial(Store& store);

// Finds the user by the passphrase digest and loads the key pool, healing a lost or damaged pool row from the
// second copy. The file must be open. Returns 0, WrongPassphrase, Fatal or an engine error.
int LoadKeyPool(Store& store);

// Asks the passphrase again and tests it against the user's verifier; a wrong one costs the penalty wait.
// With keepDigest the passphrase digest is replaced by the one typed.
bool ConfirmPassphrase(Store& store, bool keepDigest);

// Re-seals the keystring under a new passphrase. `requestNew` asks for the new passphrase and sets the
// digests in `store` from it, returning 0 on success. Afterwards the file opens with the new passphrase only,
// and every record still deciphers. Tells the person (message 124) when the passphrase stays unchanged.
bool Rekey(Store& store, const std::function<int(Store&)>& requestNew);

// The command: the old passphrase asked again, then Rekey.
bool ChangePassphrase(Store& store, const std::function<int(Store&)>& requestNew);

// Sets both digests from a typed passphrase and wipes the bytes it was typed as.
void SetDigests(Store& store, QString& passphrase);

} // namespace keys
