// Login and the key pool on rows of any bytes: the user rows, their verifier, the key pool row and its second
// copy, read through keys::LoadKeyPool (and users::LoginUser under it) with a fixed passphrase.
//
// Input: a flag byte, then five pieces (see fuzz::Pieces): the user's fields, the verifier, the pool row's text,
// the second copy's text and another user's row. The flags choose how much of each row is made right, so that
// inputs reach past the seals:
//   1     the user's text begins with its row's key (else with the next row's, as a row moved there would)
//   2     the user's fields follow a right check and keystring
//   4     the user's text is sealed under the passphrase digest (else stored as it is)
//   8,16  pool row: none, the text sealed under the keystring, the text as it is, the right pool sealed
//   32,64 second copy: none, sealed twice as written, sealed once, the text as it is
//   128   the verifier piece follows the right verifier

#include "fuzz_support.h"

#include "store/codepage.h"
#include "store/conversion.h"
#include "store/keys.h"
#include "store/record_put.h"
#include "store/row.h"
#include "store/users.h"

namespace {

const QString kPassphrase = QStringLiteral("fuzzing passphrase 1");

// The keystring of the file and what is derived from the passphrase, computed once.
struct Material {
    QByteArray digest = CRY::Hash256x80(codepage::ToBytes(kPassphrase));
    QByteArray keystring = QByteArray(keys::kKeystringBytes, 'k');
    QByteArray sealedKeystring = fuzz::FixedCipher().Seal(keystring, digest);
    QByteArray sealedPool = fuzz::FixedCipher().Seal(SecureText(fuzz::FixedPool()), keystring);
};

const Material& Fixed() {
    static const Material material;
    return material;
}

void AddRow(Store& store, int section, int kind, const std::function<QByteArray(std::int64_t)>& etx,
            const QByteArray& verifier = {}) {
    AddNewRow(store.connection(), [&](std::int64_t fpk, RowValues& row) {
        row.set(Col::fSec, section);
        row.set(Col::fSub, kind);
        row.set(Col::fEtx, etx(fpk));
        if (!verifier.isNull()) {
            row.set(Col::fT3, verifier);
        }
        return true;
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray input = fuzz::Bytes(data, size);
    if (input.isEmpty()) {
        return 0;
    }
    const int flags = static_cast<unsigned char>(input[0]);
    fuzz::Pieces pieces(input.mid(1));
    const QByteArray fields = pieces.next();
    const QByteArray verifier = pieces.next();
    const QByteArray poolText = pieces.next();
    const QByteArray copyText = pieces.next();
    const QByteArray otherUser = pieces.next();

    const Material& fixed = Fixed();
    fuzz::ScratchStore scratch;
    Store& store = scratch.store;
    CRY& cry = store.cry;
    QString typed = kPassphrase;
    keys::SetDigests(store, typed);

    if (!otherUser.isEmpty()) {
        AddRow(store, 2, 0, [&](std::int64_t) { return otherUser; });
    }
    AddRow(
        store, 2, 0,
        [&](std::int64_t fpk) {
            QByteArray text = CONVERSION::NumToBytes((flags & 1) != 0 ? fpk : fpk + 1, 4);
            if ((flags & 2) != 0) {
                text += Record_Put::PutField(CRY::Hash1x47(fixed.digest), FieldType::Text, 1) +
                        Record_Put::PutField(fixed.sealedKeystring, FieldType::Text, 2);
            }
            text += fields;
            return (flags & 4) != 0 ? cry.Seal(text, fixed.digest) : text;
        },
        (flags & 128) != 0 ? users::Verifier(fixed.digest) + verifier : verifier);
    switch ((flags >> 3) & 3) {
    case 1:
        AddRow(store, 1, 1, [&](std::int64_t) { return cry.Seal(poolText, fixed.keystring); });
        break;
    case 2:
        AddRow(store, 1, 1, [&](std::int64_t) { return poolText; });
        break;
    case 3:
        AddRow(store, 1, 1, [&](std::int64_t) { return fixed.sealedPool; });
        break;
    }
    const QByteArray copyPass = CRY::Hash256x80(fixed.keystring);
    switch ((flags >> 5) & 3) {
    case 1:
        AddRow(store, 1, 2, [&](std::int64_t) { return cry.Seal(cry.Seal(copyText, fixed.keystring), copyPass); });
        break;
    case 2:
        AddRow(store, 1, 2, [&](std::int64_t) { return cry.Seal(copyText, copyPass); });
        break;
    case 3:
        AddRow(store, 1, 2, [&](std::int64_t) { return copyText; });
        break;
    }
    keys::LoadKeyPool(store);
    return 0;
}
