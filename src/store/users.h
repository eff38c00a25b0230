#pragma once

#include "store/store.h"

// Users and login. A user is found by the passphrase, not by a name: each user row is sealed under its own
// user's passphrase digest.
namespace users {

// Finds the user whose row opens with the passphrase digest. With loadRecord the current user record is filled
// and the verifier checked (and healed); with loadOptions the PIN settings are read.
// Returns 0, WrongPassphrase, Fatal (a row moved, or no user rows at all), or an engine error.
int LoginUser(Store& store, bool loadRecord, bool loadOptions);

// Writes the current user's row in one transaction: the user blob sealed under the digest, and unless
// keepVerifier a fresh verifier. A user without a key gets a new row. Returns 0 or an engine error.
int SaveUser(Store& store, bool keepVerifier);

// The user blob: level, check, sealed keystring, the two flags, the number, the name and the option blob.
QByteArray UserBlob(const UserRecord& user);
QByteArray UserOptionsBlob(const UserOptions& options);
// Reads an option blob; an unreadable or incomplete one gives the defaults, with the PIN derived from the
// passphrase check (asking for the passphrase when it is no longer at hand).
UserOptions LoadUserOptions(Store& store, const QByteArray& blob);
// The PIN nobody typed: derived from the passphrase check.
QString DefaultPin(const QByteArray& passCheck);

// The passphrase verifier of a digest: one 24-byte Rijndael block.
QByteArray Verifier(const QByteArray& passDigest);

// The user's preferences, kept enciphered in the user's row. Unreadable preferences are replaced by the
// defaults, which are written at once.
int LoadPreferences(Store& store);
// Writes the given preference blob, or the current preferences when it is empty.
int SavePreferences(Store& store, const QByteArray& blob = {});

// The user's list settings (the nine user field labels), as one text of items joined by byte 17.
QByteArray LoadListSettings(Store& store);
int SaveListSettings(Store& store, const QByteArray& settings);
// Nine empty labels.
QByteArray DefaultListSettings();

} // namespace users
