#include "store/cry.h"
#include "store/byte_view.h"

#include "store/conversion.h"
#include "store/rijndael.h"

#include <botan/cipher_mode.h>
#include <botan/hash.h>
#include <botan/mem_ops.h>
#include <botan/pwdhash.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr int kRecordKeyBytes = 16;
constexpr int kBlowfishBlock = 8;
constexpr int kSaltBytes = 16;
constexpr int kAesBlock = 16;
constexpr int kSealKeyBytes = 32;
constexpr int kSealRounds = 2048;
constexpr char kMarker = 3;

std::uint8_t ByteSum(const std::uint8_t* p, std::size_t n) {
    unsigned sum = 0;
    for (std::size_t i = 0; i < n; ++i) {
        sum += p[i];
    }
    return static_cast<std::uint8_t>(sum & 0xFF);
}

// The 32-byte key of a seal, derived from the pass and the salt.
CRY::SecureBytes SealKey(const QByteArray& pass, const std::uint8_t* salt) {
    CRY::SecureBytes key(kSealKeyBytes);
    auto family = Botan::PasswordHashFamily::create_or_throw("PBKDF2(SHA-1)");
    auto kdf = family->from_iterations(kSealRounds);
    kdf->derive_key(key.data(), key.size(), pass.constData(), static_cast<std::size_t>(pass.size()), salt, kSaltBytes);
    return key;
}

// AES-256-CBC over whole blocks, no padding of its own.
bool Aes256Cbc(Botan::Cipher_Dir direction, const CRY::SecureBytes& key, const std::uint8_t* iv,
               CRY::SecureBytes& buffer) {
    try {
        auto mode = Botan::Cipher_Mode::create_or_throw("AES-256/CBC/NoPadding", direction);
        mode->set_key(key);
        mode->start(iv, kAesBlock);
        mode->finish(buffer);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace

CRY::CRY(RandomSource& random)
    : m_random(random)
    , m_encryptor(Botan::Cipher_Mode::create_or_throw("Blowfish/CBC/NoPadding", Botan::ENCRYPTION))
    , m_decryptor(Botan::Cipher_Mode::create_or_throw("Blowfish/CBC/NoPadding", Botan::DECRYPTION)) {}

CRY::~CRY() {
    wipeKeys();
}

void CRY::setKeyPool(const SecureBytes& pool) {
    m_keyPool = pool;
}

void CRY::wipeKeys() {
    WipeBytes(m_keyPool);
    WipeBytes(m_recordKey);
    WipeBytes(m_workBuffer);
    WipeBytes(m_decryptorKey);
    m_decryptor->clear();
}

void CRY::SelectKey(int R) {
    const std::size_t L = m_keyPool.size();
    if (L == 0) {
        WipeBytes(m_recordKey);
        return;
    }
    const std::size_t r = static_cast<std::size_t>(R) & 0xFFFF;
    const std::size_t a = r % L;
    const std::size_t b = r / L + 1;
    const std::size_t s = m_keyPool[a] % 3 + 1;
    m_recordKey.assign(kRecordKeyBytes, 0);
    for (std::size_t i = 1; i <= kRecordKeyBytes; ++i) {
        const std::size_t p = b * i + a;
        const std::size_t x = m_keyPool[p % L];
        const std::size_t y = m_keyPool[(p + s) % L];
        m_recordKey[i - 1] = m_keyPool[(256 * x + y) % L];
    }
}

bool CRY::BlowfishEncrypt(QByteArray& out, QByteArray text, const QByteArray& prefix) {
    // An empty record must not be told from a short one, so it becomes a random run of blanks.
    if (text.isEmpty()) {
        text = QByteArray(std::clamp(m_random.blankCount(), 0, 12), ' ');
    }
    const qsizetype length = prefix.size() + text.size();
    const qsizetype p = kBlowfishBlock - (length + 1) % kBlowfishBlock;
    const qsizetype head = out.size();
    // The plain text is framed right where its cipher text goes and enciphered in place, so that no copy of it is
    // left anywhere; `out` is sized first, as growing it later could leave a plain copy behind.
    out.resize(head + kBlowfishBlock + length + 1 + p);
    auto* iv = reinterpret_cast<std::uint8_t*>(out.data() + head);
    std::uint8_t* plain = iv + kBlowfishBlock;
    std::memcpy(plain, prefix.constData(), static_cast<std::size_t>(prefix.size()));
    std::memcpy(plain + prefix.size(), text.constData(), static_cast<std::size_t>(text.size()));
    CRY::WipeBytes(text);
    plain[length] = kMarker;
    std::memset(plain + length + 1, static_cast<int>(p), static_cast<std::size_t>(p));

    m_random.vector(iv, kBlowfishBlock);
    try {
        m_encryptor->set_key(m_recordKey);
        m_encryptor->start(iv, kBlowfishBlock);
        m_encryptor->process(plain, static_cast<std::size_t>(length + 1 + p));
    } catch (const std::exception&) {
        Botan::secure_scrub_memory(out.data() + head, static_cast<std::size_t>(out.size() - head));
        out.truncate(head);
        return false;
    }
    return true;
}

int CRY::BlowfishDecrypt(const QByteArray& text) {
    m_workBuffer.clear();
    const qsizetype n = text.size() - kBlowfishBlock;
    if (n <= 0 || n % kBlowfishBlock != 0) {
        return -1;
    }
    m_workBuffer.assign(ByteData(text) + kBlowfishBlock, ByteData(text) + text.size());
    try {
        if (m_decryptorKey != m_recordKey) {
            m_decryptor->set_key(m_recordKey);
            m_decryptorKey = m_recordKey;
        }
        m_decryptor->start(ByteData(text), kBlowfishBlock);
        m_decryptor->finish(m_workBuffer);
    } catch (const std::exception&) {
        m_workBuffer.clear();
        return -1;
    }
    return Unframe();
}

int CRY::Unframe() {
    const auto n = static_cast<qsizetype>(m_workBuffer.size());
    const qsizetype p = m_workBuffer.back();
    if (n - p - 1 < 0) {
        return -5;
    }
    if (m_workBuffer[n - p - 1] != kMarker) {
        return -2;
    }
    if (n - p - 2 < 0) {
        m_workBuffer.clear();
        return -3;
    }
    Botan::secure_scrub_memory(m_workBuffer.data() + (n - p - 1), static_cast<std::size_t>(p + 1));
    m_workBuffer.resize(static_cast<std::size_t>(n - p - 1));
    return static_cast<int>(n - p - 2);
}

int CRY::Selector(const QByteArray& text) {
    if (text.size() <= 3 || (text.size() - 2) % 2 != 0) {
        return -1;
    }
    return 256 * static_cast<unsigned char>(text[0]) + static_cast<unsigned char>(text[1]);
}

QByteArray CRY::OpenRecord(std::int32_t fpk, const QByteArray& text, const blowfish_lanes::Schedule& schedule) {
    m_workBuffer.clear();
    const qsizetype n = text.size() - 2 - kBlowfishBlock;
    if (Selector(text) < 0 || n <= 0 || n % kBlowfishBlock != 0) {
        return {};
    }
    const std::uint8_t* iv = ByteData(text) + 2;
    m_workBuffer.assign(iv + kBlowfishBlock, ByteData(text) + text.size());
    blowfish_lanes::DecryptCbc(schedule, iv, m_workBuffer.data(), m_workBuffer.size());
    if (Unframe() < 3) {
        return {};
    }
    const QByteArray lead(reinterpret_cast<const char*>(m_workBuffer.data()), 4);
    return CONVERSION::BytesToLong(lead) == fpk ? SecureText(m_workBuffer, 4) : QByteArray();
}

int CRY::OpenCipherText(const QByteArray& text) {
    if (m_keyPool.empty() || text.isNull()) {
        m_workBuffer.clear();
        return -1;
    }
    const int selector = Selector(text);
    if (selector < 0) {
        m_workBuffer.clear();
        return -1;
    }
    SelectKey(selector);
    return BlowfishDecrypt(text.mid(2));
}

QByteArray CRY::Cipher(std::int32_t fpk, int op, const QByteArray& text) {
    switch (op) {
    case 1:
    case 5: {
        if (m_keyPool.empty()) {
            return {};
        }
        const int R = m_random.selector();
        SelectKey(R);
        const QByteArray prefix = op == 1 ? CONVERSION::NumToBytes(fpk, 4) : QByteArray();
        // Room for selector, vector, text, marker and padding, so that the result is written in one piece.
        QByteArray out;
        out.reserve(2 + 2 * kBlowfishBlock + 1 + prefix.size() + std::max<qsizetype>(text.size(), 12));
        out.append(static_cast<char>(R / 256));
        out.append(static_cast<char>(R % 256));
        return BlowfishEncrypt(out, text, prefix) ? out : QByteArray();
    }
    case 2: {
        if (OpenCipherText(text) < 3) {
            return {};
        }
        const QByteArray lead(reinterpret_cast<const char*>(m_workBuffer.data()), 4);
        if (CONVERSION::BytesToLong(lead) != fpk) {
            return {};
        }
        return SecureText(m_workBuffer, 4);
    }
    case 6: {
        if (OpenCipherText(text) < 0) {
            return {};
        }
        if (m_workBuffer.size() == 1 && m_workBuffer[0] == 0) {
            return {};
        }
        return SecureText(m_workBuffer);
    }
    case 3:
    case 4: {
        if (m_recordKey.size() < kRecordKeyBytes) {
            if (m_messageSink) {
                m_messageSink(34);
            }
            return {};
        }
        if (op == 3) {
            QByteArray out;
            return BlowfishEncrypt(out, text, {}) ? out : QByteArray();
        }
        return BlowfishDecrypt(text) < 0 ? QByteArray() : SecureText(m_workBuffer);
    }
    default:
        return {};
    }
}

QByteArray CRY::Seal(const QByteArray& text, const QByteArray& pass) {
    SecureBytes buffer = SecureCopy(text);
    const std::uint8_t check = ByteSum(buffer.data(), buffer.size());
    buffer.push_back(kMarker);
    buffer.push_back(check);
    const std::size_t p = kAesBlock - (buffer.size() % kAesBlock);
    buffer.insert(buffer.end(), p, static_cast<std::uint8_t>(p));

    std::uint8_t salt[kSaltBytes];
    m_random.salt(salt, sizeof salt);
    try {
        const SecureBytes key = SealKey(pass, salt);
        if (!Aes256Cbc(Botan::ENCRYPTION, key, salt, buffer)) {
            return {};
        }
    } catch (const std::exception&) {
        return {};
    }
    return QByteArray(reinterpret_cast<const char*>(salt), sizeof salt) + SecureText(buffer);
}

QByteArray CRY::Unseal(const QByteArray& sealed, const QByteArray& pass) {
    if (sealed.isEmpty() || pass.isEmpty()) {
        return {};
    }
    const qsizetype n = sealed.size() - kSaltBytes;
    if (n <= 0 || n % kAesBlock != 0) {
        return {};
    }
    SecureBytes buffer(ByteData(sealed) + kSaltBytes, ByteData(sealed) + sealed.size());
    try {
        const SecureBytes key = SealKey(pass, ByteData(sealed));
        if (!Aes256Cbc(Botan::DECRYPTION, key, ByteData(sealed), buffer)) {
            return {};
        }
    } catch (const std::exception&) {
        return {};
    }
    const std::size_t p = buffer.back();
    if (p > kAesBlock || buffer.size() < p + 2) {
        return {};
    }
    buffer.resize(buffer.size() - p);
    const std::uint8_t check = buffer.back();
    if (buffer[buffer.size() - 2] != kMarker) {
        return {};
    }
    buffer.resize(buffer.size() - 2);
    if (ByteSum(buffer.data(), buffer.size()) != check) {
        return {};
    }
    return SecureText(buffer);
}

QByteArray CRY::Hash256x80(const QByteArray& text) {
    if (text.isEmpty()) {
        return {};
    }
    auto sha = Botan::HashFunction::create_or_throw("SHA-256");
    SecureBytes digest = sha->process(ByteData(text), static_cast<std::size_t>(text.size()));
    for (int round = 1; round < 80; ++round) {
        sha->update(digest);
        sha->final(digest.data());
    }
    return SecureText(digest);
}

QByteArray CRY::Hash1x47(const QByteArray& text) {
    auto sha = Botan::HashFunction::create_or_throw("SHA-1");
    SecureBytes digest = sha->process(ByteData(text), static_cast<std::size_t>(text.size()));
    // Each further round hashes only the first 19 bytes; the digests of existing files depend on it.
    for (int round = 1; round < 47; ++round) {
        sha->update(digest.data(), 19);
        sha->final(digest.data());
    }
    return SecureText(digest);
}

QByteArray CRY::RijndaelText(const QByteArray& text, const QByteArray& key, bool encrypt, int blockBits, int keyBits) {
    if (key.isEmpty()) {
        return {};
    }
    const int b = blockBits / 8;
    const int keyBytes = keyBits / 8;
    // Stored verifiers were made with each key byte followed by a zero byte.
    SecureBytes wideKey(static_cast<std::size_t>(std::max(keyBytes, 0)), 0);
    for (qsizetype i = 0; i < key.size() && 2 * i < keyBytes; ++i) {
        wideKey[2 * i] = static_cast<std::uint8_t>(key[i]);
    }
    try {
        const rijndael::Rijndael cipher(wideKey.data(), wideKey.size(), static_cast<std::size_t>(b));
        SecureBytes buffer = SecureCopy(text);
        if (encrypt) {
            const std::size_t q = (b - (buffer.size() + 1) % b) % b;
            buffer.push_back(kMarker);
            buffer.insert(buffer.end(), q, static_cast<std::uint8_t>(b));
            for (std::size_t i = 0; i < buffer.size(); i += b) {
                cipher.encryptBlock(buffer.data() + i, buffer.data() + i);
            }
            return SecureText(buffer);
        }
        buffer.resize(buffer.size() - buffer.size() % b);
        for (std::size_t i = 0; i < buffer.size(); i += b) {
            cipher.decryptBlock(buffer.data() + i, buffer.data() + i);
        }
        for (int walked = 0; walked < b && !buffer.empty(); ++walked) {
            const std::uint8_t last = buffer.back();
            buffer.pop_back();
            if (last == kMarker) {
                return SecureText(buffer);
            }
            if (last != b) {
                return {};
            }
        }
        return {};
    } catch (const std::exception&) {
        return {};
    }
}

QByteArray CRY::RandomBytes(int n) {
    if (n <= 0) {
        return {};
    }
    QByteArray out(n, '\0');
    m_random.bytes(reinterpret_cast<std::uint8_t*>(out.data()), static_cast<std::size_t>(n));
    return out;
}

void CRY::WipeBytes(SecureBytes& bytes) {
    Botan::secure_scrub_memory(bytes.data(), bytes.size());
    bytes.clear();
}

void CRY::WipeBytes(QByteArray& bytes) {
    if (!bytes.isEmpty() && !bytes.isDetached()) {
        // Shared storage belongs to other copies too; only this handle can be dropped.
        bytes.clear();
        return;
    }
    Botan::secure_scrub_memory(bytes.data(), static_cast<std::size_t>(bytes.size()));
    bytes.clear();
}

void CRY::WipeText(QString& text) {
    if (!text.isEmpty() && text.isDetached()) {
        Botan::secure_scrub_memory(text.data(), static_cast<std::size_t>(text.size()) * sizeof(QChar));
    }
    text.clear();
}
