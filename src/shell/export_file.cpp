#include "shell/export_file.h"

#include <QSaveFile>

#include <sys/stat.h>

namespace exports {

QString WriteExportFile(const QString& path, const QByteArray& bytes) {
    QSaveFile file(path);
    // The export is not enciphered: only its owner may read it, from its first byte on.
    if (!file.open(QIODevice::WriteOnly) || ::fchmod(file.handle(), 0600) != 0 || file.write(bytes) != bytes.size() ||
        !file.commit()) {
        return file.errorString();
    }
    return {};
}

QString ExportNotice(const QString& what, const QString& path) {
    return QStringLiteral("%1 exported to %2.\n\nThe file is not encrypted: whoever can read it can read it all. "
                          "Only your user account may open it.")
        .arg(what, path);
}

} // namespace exports
