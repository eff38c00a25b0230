#include "store/self_test.h"
#include "store/byte_view.h"

#include "store/cry.h"
#include "store/rijndael.h"

#include <botan/block_cipher.h>
#include <botan/pwdhash.h>

#include <vector>

namespace {

QByteArray Hex(const char* hex) {
    return QByteArray::fromHex(hex);
}

bool BlockCipherAnswer(const char* name, const char* key, const char* plain, const char* expected) {
    auto cipher = Botan::BlockCipher::create_or_throw(name);
    const QByteArray k = Hex(key);
    QByteArray block = Hex(plain);
    cipher->set_key(ByteData(k), static_cast<std::size_t>(k.size()));
    cipher->encrypt(reinterpret_cast<std::uint8_t*>(block.data()));
    if (block != Hex(expected)) {
        return false;
    }
    cipher->decrypt(reinterpret_cast<std::uint8_t*>(block.data()));
    return block == Hex(plain);
}

bool Pbkdf2Answer() {
    // RFC 6070, second case.
    std::uint8_t out[20];
    auto kdf = Botan::PasswordHashFamily::create_or_throw("PBKDF2(SHA-1)")->from_iterations(2);
    kdf->derive_key(out, sizeof out, "password", 8, reinterpret_cast<const std::uint8_t*>("salt"), 4);
    return QByteArray(reinterpret_cast<const char*>(out), sizeof out) ==
           Hex("ea6c014dc72d6f8ccd1ed92ace1d41f0d8de8957");
}

bool RijndaelAnswer() {
    // Gladman's vectors for the 192-bit block with a 256-bit key.
    const QByteArray key = Hex("2b7e151628aed2a6abf7158809cf4f3c762e7160f38b4da56a784d9045190cfe");
    const QByteArray plain = Hex("3243f6a8885a308d313198a2e03707344a4093822299f31d");
    const rijndael::Rijndael cipher(ByteData(key), 32, 24);
    std::uint8_t block[24];
    cipher.encryptBlock(ByteData(plain), block);
    if (QByteArray(reinterpret_cast<const char*>(block), 24) !=
        Hex("0ebacf199e3315c2e34b24fcc7c46ef4388aa475d66c194c")) {
        return false;
    }
    cipher.decryptBlock(block, block);
    return QByteArray(reinterpret_cast<const char*>(block), 24) == plain;
}

// A record text with a known pool, selector and vector, and its way back.
bool RecordAnswer() {
    ScriptedRandom random;
    const QByteArray iv = Hex("1112131415161718");
    random.setVector(ByteData(iv), 8);
    random.setSelector(40000);
    CRY cry(random);
    const QByteArray pool =
        Hex("782eba944d33e3b968c1b7c243883ea2d0bc7f5a6a86ba9df6374f8bb4548413bbc6ffdd34b0c0ba77ecb5d4dfa7258836de69fa0e"
            "c559a06a771fb9be23c353635458cb33536d6a519136e7de683a340abf39c304f8dd42d88151c5f591cdb46b9d1c54d9a79bc73b3c"
            "fe765d22335e7e98d6a02443639f5655f0b5ffb677dc2bafb2c4dc2154ec3494af1019f0d72c01e62670b43c593a1432cd483db176"
            "9a437b86e16fa9f86a33d7124d4d472290a9bb4086197e37e432c8632d83d939515ac0b3e4cc0b94e6eead8b60efbdb8f3a2121e3a"
            "0e8420f1d435e8a29dec16f2812c3c7c95ccbb2a2916209e1acff1988fcffe9aa107981b8f2e8bb250001f47072e0f1aa2db9fac9e"
            "bb359435a5");
    cry.setKeyPool(SecureCopy(pool));
    const QByteArray sealed = cry.Cipher(7, 1, QByteArrayLiteral("hi"));
    return sealed == Hex("9c4011121314151617184483358c9d7c24e1") && cry.Cipher(7, 2, sealed) == "hi" &&
           cry.Cipher(8, 2, sealed).isEmpty();
}

bool SealAnswer() {
    ScriptedRandom random;
    const QByteArray salt = Hex("000102030405060708090a0b0c0d0e0f");
    random.setSalt(ByteData(salt), 16);
    CRY cry(random);
    const QByteArray sealed = cry.Seal("Hello", "password");
    return sealed == Hex("000102030405060708090a0b0c0d0e0fa57a7ff9ab60f6128b77d0420a3b0888") &&
           CRY::Unseal(sealed, "password") == "Hello" && CRY::Unseal(sealed, "passwore").isEmpty();
}

} // namespace

SelfTestResult RunCipherSelfTests() {
    struct Check {
        const char* name;
        bool (*run)();
    };
    static const Check checks[] = {
        {"Blowfish",
         [] { return BlockCipherAnswer("Blowfish", "0000000000000000", "0000000000000000", "4ef997456198dd78"); }},
        {"AES-256",
         [] {
             return BlockCipherAnswer("AES-256", "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f",
                                      "00112233445566778899aabbccddeeff", "8ea2b7ca516745bfeafc49904b496089");
         }},
        {"PBKDF2", Pbkdf2Answer},
        {"SHA-256 digest",
         [] {
             return CRY::Hash256x80("abc") == Hex("2c5cb036c7fcae9d2f8c121165f8a55c99604f69754d7bed288624b00087e219");
         }},
        {"SHA-1 digest", [] { return CRY::Hash1x47("abc") == Hex("c60db620883b68730cabfb38dc8fb4be230456fc"); }},
        {"Rijndael", RijndaelAnswer},
        {"Record cipher", RecordAnswer},
        {"Seal", SealAnswer},
    };
    SelfTestResult result;
    for (const Check& check : checks) {
        ++result.checks;
        bool ok = false;
        try {
            ok = check.run();
        } catch (const std::exception&) {
            ok = false;
        }
        if (!ok) {
            result.failures << QString::fromLatin1(check.name);
        }
    }
    return result;
}
