// A backup file of any bytes: its trailer and stream, a bare stream with a claimed size, and the file's name.
//
// Input: the whole backup file. Its first four bytes (low byte first) double as the size claimed for the rest when
// it is expanded as a bare stream.

#include "fuzz_support.h"

#include "store/backup.h"
#include "store/conversion.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray file = fuzz::Bytes(data, size);
    const ZLib::Unpacked unpacked = ZLib::UnpackBackup(file);
    if (unpacked.ok) {
        // What a backup gives back must survive a backup of its own, unless its path no longer fits the trailer.
        const QByteArray again = ZLib::PackBackup(unpacked.data, unpacked.sourcePath);
        if (!again.isEmpty() && ZLib::UnpackBackup(again).data != unpacked.data) {
            std::abort();
        }
    }
    if (file.size() >= 4) {
        ZLib::ExpandBytes(file.mid(4), static_cast<quint32>(CONVERSION::BytesToLong(file.left(4))));
    }
    backup::ParseBackupName(QString::fromLocal8Bit(file));
    return 0;
}
