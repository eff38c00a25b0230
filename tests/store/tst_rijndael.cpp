#include "store/rijndael.h"
#include "support/test_main.h"

#include <stdexcept>

// Every expected value below is a published known answer, none is produced by this implementation:
//  - Brian Gladman, Rijndael test vectors for all block/key length combinations (the "correct output" listing of
//    his variable block size AES test program, 2001/2002). Key = leading bytes of the hex digits of e, plaintext =
//    leading bytes of the hex digits of pi. Also reproduced in the Bouncy Castle Rijndael test suite.
//  - FIPS-197 (Advanced Encryption Standard), Appendix B and Appendix C.1-C.3.
//  - NIST AESAVS (AES Algorithm Validation Suite) known-answer tables ECBVarKey128, ECBVarTxt192, ECBVarTxt256,
//    COUNT = 0.
//  - NESSIE block cipher test vectors for Rijndael with a 256-bit key and 128/192/256-bit blocks, Set 1 and Set 2
//    ("unverified" sets), including their "Iterated 1000 times" entries.

namespace {

const std::uint8_t* Bytes(const QByteArray& data) {
    return reinterpret_cast<const std::uint8_t*>(data.constData());
}

std::uint8_t* Bytes(QByteArray& data) {
    return reinterpret_cast<std::uint8_t*>(data.data());
}

// Hex digits of e and pi; Gladman's vectors use their leading key-length and block-length bytes.
const char* const kGladmanKey = "2b7e151628aed2a6abf7158809cf4f3c762e7160f38b4da56a784d9045190cfe";
const char* const kGladmanPlain = "3243f6a8885a308d313198a2e03707344a4093822299f31d0082efa98ec4e6c8";

// `bytes` bytes in hex, all zero but for the one bit `bit` counted from the top, as the NESSIE and AESAVS sets
// vary them; no bit at all for -1.
QByteArray OneBit(int bit, int bytes = 32) {
    QByteArray value(bytes, '\0');
    if (bit >= 0) {
        value[bit / 8] = static_cast<char>(0x80 >> (bit % 8));
    }
    return value.toHex();
}

void AddRow(const char* name, const QByteArray& keyHex, const QByteArray& plainHex, const char* cipherHex) {
    QTest::newRow(name) << QByteArray::fromHex(keyHex) << QByteArray::fromHex(plainHex)
                        << QByteArray::fromHex(cipherHex);
}

void AddGladmanRow(int keyBytes, int blockBytes, const char* cipherHex) {
    const QByteArray name =
        "Gladman block " + QByteArray::number(blockBytes * 8) + " key " + QByteArray::number(keyBytes * 8);
    AddRow(name.constData(), QByteArray(kGladmanKey).left(2 * keyBytes), QByteArray(kGladmanPlain).left(2 * blockBytes),
           cipherHex);
}

} // namespace

class TestRijndael : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void knownAnswer_data() {
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QByteArray>("plaintext");
        QTest::addColumn<QByteArray>("ciphertext");
        // The 128/128 case is also FIPS-197 Appendix B.
        AddGladmanRow(16, 16, "3925841d02dc09fbdc118597196a0b32");
        AddGladmanRow(24, 16, "f9fb29aefc384a250340d833b87ebc00");
        AddGladmanRow(32, 16, "1a6e6c2c662e7da6501ffb62bc9e93f3");
        AddGladmanRow(16, 24, "b24d275489e82bb8f7375e0d5fcdb1f481757c538b65148a");
        AddGladmanRow(24, 24, "725ae43b5f3161de806a7c93e0bca93c967ec1ae1b71e1cf");
        AddGladmanRow(32, 24, "0ebacf199e3315c2e34b24fcc7c46ef4388aa475d66c194c");
        AddGladmanRow(16, 32, "7d15479076b69a46ffb3b3beae97ad8313f622f67fedb487de9f06b9ed9c8f19");
        AddGladmanRow(24, 32, "5d7101727bb25781bf6715b0e6955282b9610e23a43c2eb062699f0ebf5887b2");
        AddGladmanRow(32, 32, "a49406115dfb30a40418aafa4869b7c6a886ff31602a7dd19c889dc64f7e4e7a");

        const QByteArray counting = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f";
        const QByteArray fips = "00112233445566778899aabbccddeeff";
        AddRow("FIPS-197 C.1 AES-128", counting.left(32), fips, "69c4e0d86a7b0430d8cdb78070b4c55a");
        AddRow("FIPS-197 C.2 AES-192", counting.left(48), fips, "dda97ca4864cdfe06eaf70a0ec0d7191");
        AddRow("FIPS-197 C.3 AES-256", counting, fips, "8ea2b7ca516745bfeafc49904b496089");

        AddRow("AESAVS VarKey128 0", OneBit(0, 16), OneBit(-1, 16), "0edd33d3c621e546455bd8ba1418bec8");
        AddRow("AESAVS VarTxt192 0", OneBit(-1, 24), OneBit(0, 16), "6cd02513e8d4dc986b4afe087a60bd0c");
        AddRow("AESAVS VarTxt256 0", OneBit(-1), OneBit(0, 16), "ddc6bf790c15760d8d9aeb6f9a75fd4e");

        AddRow("NESSIE block 128 set 1 vector 0", OneBit(0), OneBit(-1, 16), "e35a6dcb19b201a01ebcfa8aa22b5759");
        AddRow("NESSIE block 192 set 1 vector 0", OneBit(0), OneBit(-1, 24),
               "06eb844dec23f29f029be85fdce578cec5c663ce0c70403c");
        // 256-bit blocks: single-bit keys (set 1) and single-bit plaintexts (set 2).
        const char* const set1[] = {"e62abce069837b65309be4eda2c0e149fe56c07b7082d3287f592c4a4927a277",
                                    "1f00b4dd622c0b2951f25970b0ed47a65f513112daca242b5292ca314917bf94",
                                    "2aa9f4be159f9f8777561281c1cc4fcd7435e6e855e222426c309838abd5ffee",
                                    "b4adf28c3a85c337aa3150e3032b941aa49f12f911221dd91a62919cad447cfb"};
        const char* const set2[] = {"159a08e46e616e6e9978502010daff922eb362e77dcaaf02eaeb7354eb8b8dba",
                                    "2756ddecd7558b198962f092d7ba3eef45d9e287380aab8e852658092aa9dfa1",
                                    "87b829fb7b0c16c408151d323fcb8b56ebc0573747d46c2b47bfd533ed3273c9",
                                    "db462eec713d4cc89607dca35c4fe6e8d618c8bdacd3dd1c0a1b14e6ca8c23c6"};
        for (int v = 0; v < 4; ++v) {
            AddRow(qPrintable(QStringLiteral("NESSIE block 256 set 1 vector %1").arg(v)), OneBit(v), OneBit(-1),
                   set1[v]);
            AddRow(qPrintable(QStringLiteral("NESSIE block 256 set 2 vector %1").arg(v)), OneBit(-1), OneBit(v),
                   set2[v]);
        }
    }

    void knownAnswer() {
        QFETCH(QByteArray, key);
        QFETCH(QByteArray, plaintext);
        QFETCH(QByteArray, ciphertext);
        QCOMPARE(ciphertext.size(), plaintext.size());
        const qsizetype block = plaintext.size();
        const rijndael::Rijndael cipher(Bytes(key), key.size(), block);
        QCOMPARE(cipher.blockBytes(), std::size_t(block));

        // Trailing guard bytes catch writes past the end of the block.
        const QByteArray guard(8, '\xa5');
        QByteArray out = QByteArray(block, '\0') + guard;
        cipher.encryptBlock(Bytes(plaintext), Bytes(out));
        QCOMPARE(out.toHex(), (ciphertext + guard).toHex());
        cipher.decryptBlock(Bytes(ciphertext), Bytes(out));
        QCOMPARE(out.toHex(), (plaintext + guard).toHex());

        // Callers encrypt buffers in place.
        QByteArray buffer = plaintext;
        cipher.encryptBlock(Bytes(buffer), Bytes(buffer));
        QCOMPARE(buffer.toHex(), ciphertext.toHex());
        cipher.decryptBlock(Bytes(buffer), Bytes(buffer));
        QCOMPARE(buffer.toHex(), plaintext.toHex());
    }

    void iterated_data() {
        QTest::addColumn<int>("blockBytes");
        QTest::addColumn<QByteArray>("expected");
        // NESSIE "Iterated 1000 times" for Set 1 vector 0: the all-zero block encrypted 1000 times in a row.
        QTest::newRow("NESSIE block 192 key 256")
            << 24 << QByteArray::fromHex("3e5eccd1ec6b225e4af1992bcca9253bd16da75ffe590545");
        QTest::newRow("NESSIE block 256 key 256")
            << 32 << QByteArray::fromHex("16990d2f01f21a61678538bd10f1f231a1dcb8d4e73cddf6a33b5b5fa2368e14");
    }

    void iterated() {
        QFETCH(int, blockBytes);
        QFETCH(QByteArray, expected);
        const QByteArray key = QByteArray::fromHex(OneBit(0));
        const rijndael::Rijndael cipher(Bytes(key), key.size(), static_cast<std::size_t>(blockBytes));
        const QByteArray zero(blockBytes, '\0');
        QByteArray block = zero;
        for (int i = 0; i < 1000; ++i) {
            cipher.encryptBlock(Bytes(block), Bytes(block));
        }
        QCOMPARE(block.toHex(), expected.toHex());
        for (int i = 0; i < 1000; ++i) {
            cipher.decryptBlock(Bytes(block), Bytes(block));
        }
        QCOMPARE(block, zero);
    }

    void rejectsInvalidSizes_data() {
        QTest::addColumn<int>("keyBytes");
        QTest::addColumn<int>("blockBytes");
        // 20 and 28 bytes are Rijndael sizes too, but deliberately unsupported.
        for (int bad : {0, 4, 8, 15, 17, 20, 28, 31, 33, 48, 64}) {
            QTest::addRow("key %d block 16", bad) << bad << 16;
            QTest::addRow("key 32 block %d", bad) << 32 << bad;
            QTest::addRow("key %d block %d", bad, bad) << bad << bad;
        }
    }

    void rejectsInvalidSizes() {
        QFETCH(int, keyBytes);
        QFETCH(int, blockBytes);
        const QByteArray key(64, '\x42');
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument,
                                 (void)rijndael::Rijndael(Bytes(key), std::size_t(keyBytes), std::size_t(blockBytes)));
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument, (void)rijndael::Rijndael(nullptr, 16, 16));
    }
};

NCT_TEST_MAIN(TestRijndael)
#include "tst_rijndael.moc"
