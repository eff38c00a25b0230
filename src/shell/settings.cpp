#include "shell/settings.h"

#include <QSettings>

namespace {

QString KeyOf(QString path) {
    return path.replace(u'\\', u'/');
}

} // namespace

QString RegReadValue(const QString& path) {
    const QSettings settings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria"));
    return settings.value(KeyOf(path)).toString();
}

void RegWriteText(const QString& path, const QString& value) {
    QSettings settings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria"));
    settings.setValue(KeyOf(path), value);
}

void RegWriteDword(const QString& path, quint32 value) {
    QSettings settings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria"));
    settings.setValue(KeyOf(path), value);
}
