#include "store/field_descriptor.h"

FieldDescriptor ParseFieldDescriptor(const QString& descriptor) {
    const QStringList tokens = descriptor.trimmed().split(u' ');
    const qsizetype n = (tokens.size() - 1) / 3;
    FieldDescriptor d;
    for (qsizetype k = 0; k <= n; ++k) {
        d.names.append(tokens.value(3 * k + 1));
        const uint type = tokens.value(3 * k + 2).toUInt();
        d.types.append(static_cast<std::uint8_t>(type));
    }
    d.values.resize(d.names.size());
    return d;
}
