#pragma once

#include "store/blowfish_lanes.h"
#include "store/random_source.h"

#include <QByteArray>
#include <QString>

#include <botan/secmem.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace Botan {
class Cipher_Mode;
}

// The cipher layer: record texts under keys drawn from the key pool (Blowfish-CBC), sealed texts under a
// passphrase (AES-256-CBC with PBKDF2), the two digests and the 192-bit-block Rijndael of the verifier.
// Every text is a byte string. Failures are the empty result; nothing here throws.
// One object per thread: the record key and the work buffer are state of the object.
class CRY {
public:
    using SecureBytes = Botan::secure_vector<std::uint8_t>;

    explicit CRY(RandomSource& random = StrongRandom());
    ~CRY();
    CRY(const CRY&) = delete;
    CRY& operator=(const CRY&) = delete;

    // Record texts. op 1 and 5 encipher under a fresh key from the pool, 2 and 6 decipher by the stored selector;
    // 1 and 2 bind the text to fpk. op 3 and 4 use the record key as it stands and carry no selector.
    QByteArray Cipher(std::int32_t fpk, int op, const QByteArray& text);

    // The selector of a record text; -1 when the text is too short or of the wrong length to be one.
    static int Selector(const QByteArray& text);
    // op 2 under a schedule of the text's record key made beforehand, so that the schedules of many rows can be
    // made together.
    QByteArray OpenRecord(std::int32_t fpk, const QByteArray& text, const blowfish_lanes::Schedule& schedule);

    // The record key of selector R (0..65535) from the pool.
    void SelectKey(int R);

    void setKeyPool(const SecureBytes& pool);
    const SecureBytes& KeyPool() const { return m_keyPool; }
    const SecureBytes& RecordKey() const { return m_recordKey; }
    void setRecordKey(const SecureBytes& key) { m_recordKey = key; }
    bool hasKeyPool() const { return !m_keyPool.empty(); }
    int PoolSize() const { return static_cast<int>(m_keyPool.size()); }
    // Wipes the pool, the record key and the work buffer, as closing a file does.
    void wipeKeys();

    // Called with message 34 when op 3 or 4 finds no valid record key.
    void setMessageSink(std::function<void(int)> sink) { m_messageSink = std::move(sink); }

    // `text` sealed under `pass`: salt, then AES-256-CBC of text, marker, check byte and padding.
    QByteArray Seal(const QByteArray& text, const QByteArray& pass);
    // The text of a sealed text, or the empty text when the pass is wrong or the text damaged.
    static QByteArray Unseal(const QByteArray& sealed, const QByteArray& pass);

    // SHA-256 over 80 rounds; the empty text gives the empty text.
    static QByteArray Hash256x80(const QByteArray& text);
    // SHA-1, then 46 rounds over the first 19 bytes of the digest.
    static QByteArray Hash1x47(const QByteArray& text);
    // Rijndael in ECB order with the marker-and-pad framing; the key's bytes are interleaved with zero bytes.
    static QByteArray RijndaelText(const QByteArray& text, const QByteArray& key, bool encrypt, int blockBits,
                                   int keyBits);

    QByteArray RandomBytes(int n);
    RandomSource& random() { return m_random; }

    static void WipeBytes(SecureBytes& bytes);
    static void WipeBytes(QByteArray& bytes);
    static void WipeText(QString& text);

private:
    // Appends the vector and the cipher text of prefix and text, with marker and padding, to `out`.
    bool BlowfishEncrypt(QByteArray& out, QByteArray text, const QByteArray& prefix);
    int BlowfishDecrypt(const QByteArray& text);
    int OpenCipherText(const QByteArray& text);
    // Checks the marker and padding of the deciphered work buffer and takes them off; the plain length less one,
    // or a negative code.
    int Unframe();

    RandomSource& m_random;
    SecureBytes m_keyPool;
    SecureBytes m_recordKey;
    SecureBytes m_workBuffer;
    // The record key the decryptor is scheduled with; a schedule costs about as much as a 30-kilobyte text.
    SecureBytes m_decryptorKey;
    std::unique_ptr<Botan::Cipher_Mode> m_encryptor;
    std::unique_ptr<Botan::Cipher_Mode> m_decryptor;
    std::function<void(int)> m_messageSink;
};
