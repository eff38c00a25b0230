#pragma once

// Shared by the fuzz targets and the seed maker: the input as bytes and as pieces, a fixed key pool, and scratch
// room for the targets that need a database file.

#include "store/cry.h"
#include "store/db.h"
#include "store/store.h"
#include "support/scripted_prompter.h"

#include <QByteArray>
#include <QDir>
#include <QFileInfo>
#include <QList>
#include <QString>
#include <QTemporaryDir>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace fuzz {

inline QByteArray Bytes(const std::uint8_t* data, std::size_t size) {
    return QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
}

// An input read as pieces: each a length of two bytes, low byte first, then that many bytes. A length that runs
// past the end takes what is left; pieces beyond the end are empty. Seeds are written with Join.
class Pieces {
public:
    explicit Pieces(const QByteArray& input)
        : m_input(input) {}

    QByteArray next() {
        if (m_pos + 2 > m_input.size()) {
            m_pos = m_input.size();
            return {};
        }
        const qsizetype length =
            static_cast<unsigned char>(m_input[m_pos]) | static_cast<unsigned char>(m_input[m_pos + 1]) << 8;
        const QByteArray piece = m_input.mid(m_pos + 2, length);
        m_pos = std::min(m_input.size(), m_pos + 2 + length);
        return piece;
    }

    static QByteArray Join(const QList<QByteArray>& pieces) {
        QByteArray out;
        for (const QByteArray& piece : pieces) {
            out.append(static_cast<char>(piece.size() & 0xFF));
            out.append(static_cast<char>(piece.size() >> 8));
            out.append(piece);
        }
        return out;
    }

private:
    QByteArray m_input;
    qsizetype m_pos = 0;
};

// The key pool of every target that deciphers: fixed, so that seeds enciphered by the seed maker read back.
inline CRY::SecureBytes FixedPool() {
    CRY::SecureBytes pool(270);
    for (std::size_t i = 0; i < pool.size(); ++i) {
        pool[i] = static_cast<std::uint8_t>(i * 167 + 13);
    }
    return pool;
}

// A cipher layer holding the fixed pool, with known values for its randomness so that every run repeats.
inline CRY& FixedCipher() {
    static ScriptedRandom random;
    static CRY cry(random);
    if (!cry.hasKeyPool()) {
        cry.setKeyPool(FixedPool());
    }
    return cry;
}

// A folder for the whole run, in memory where the system offers it: the database targets write on every input.
inline QString ScratchDir() {
    static QTemporaryDir dir(QFileInfo(QStringLiteral("/dev/shm")).isWritable()
                                 ? QStringLiteral("/dev/shm/nct-fuzz-XXXXXX")
                                 : QDir::tempPath() + QStringLiteral("/nct-fuzz-XXXXXX"));
    return dir.path();
}

// A store answered by a script, on a database file of ours that is made once per run and emptied for each input.
struct ScratchStore {
    ScriptedPrompter prompter;
    ScriptedRandom random;
    Store store{prompter, random};

    ScratchStore() {
        static const QString path = [] {
            const QString file = ScratchDir() + QStringLiteral("/scratch.nct");
            db::CreateDatabaseFile(file);
            return file;
        }();
        store.database.Open(path);
        store.connection().exec("DELETE FROM tt");
    }
};

} // namespace fuzz
