#pragma once

#include <QByteArray>

#include <botan/secmem.h>

#include <cstdint>

// Byte strings as the crypto and compression libraries take them, and secrets in buffers that are wiped when
// they go.

inline const std::uint8_t* ByteData(const QByteArray& bytes) {
    return reinterpret_cast<const std::uint8_t*>(bytes.constData());
}

inline Botan::secure_vector<std::uint8_t> SecureCopy(const QByteArray& bytes) {
    return Botan::secure_vector<std::uint8_t>(ByteData(bytes), ByteData(bytes) + bytes.size());
}

// The secure buffer's bytes from `from` on as a byte string, for the cipher layer's text interface.
inline QByteArray SecureText(const Botan::secure_vector<std::uint8_t>& bytes, std::size_t from = 0) {
    if (from >= bytes.size()) {
        return {};
    }
    return QByteArray(reinterpret_cast<const char*>(bytes.data() + from), static_cast<qsizetype>(bytes.size() - from));
}
