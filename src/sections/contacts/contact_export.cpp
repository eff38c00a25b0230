#include "sections/contacts/contact_export.h"

#include "sections/contacts/contact.h"
#include "sections/record_store.h"
#include "shell/export_file.h"
#include "store/field_codec.h"
#include "store/field_descriptor.h"
#include "store/record_get.h"
#include "store/store.h"

#include <QDateTime>

namespace contacts {

namespace {

constexpr const char* kLineEnd = "\r\n";

QString ValueText(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    case QMetaType::QDateTime: {
        // The blank date's sentinel is no date to another program.
        const QDate date = value.toDateTime().date();
        return date == NoDate() ? QString() : date.toString(Qt::ISODate);
    }
    default:
        return value.toString();
    }
}

void AppendLine(QByteArray& out, const QStringList& values) {
    for (const QString& value : values) {
        out += value.toUtf8();
        out += '\t';
    }
    out += kLineEnd;
}

} // namespace

TabExport AddressTabDelimited(Store& store) {
    const FieldDescriptor descriptor = ParseFieldDescriptor(ContactDescriptor());
    TabExport result;
    AppendLine(result.text, descriptor.names.mid(Private));

    sqlite::Statement select = store.connection().prepare("SELECT fPK, fEtx, fT1 FROM tt WHERE fSec=? ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(kContactSection));
    // Only what the list would show: private contacts stay in while they are hidden, and so do other owners'.
    const Record_Get::TitleAccess access = store.titleAccess();
    const QVector<QStringList> lines = records::OpenRows<QStringList>(
        store.cry.KeyPool(), select, [&](CRY& cry, const Row& row) -> std::optional<QStringList> {
            const auto key = static_cast<std::int32_t>(row.integer(Col::fPK));
            if (Record_Get::OpenTitle(cry, key, row.bytes(Col::fT1), access).isEmpty()) {
                return std::nullopt;
            }
            const QByteArray blob = cry.Cipher(key, 2, row.bytes(Col::fEtx));
            if (blob.isEmpty()) {
                return std::nullopt;
            }
            FieldValues values(kFieldCount);
            Record_Get::GetRecord(values, blob);
            QStringList texts;
            for (qsizetype field = Private; field < kFieldCount; ++field) {
                texts << ValueText(values[field]);
            }
            return texts;
        });
    for (const QStringList& line : lines) {
        AppendLine(result.text, line);
    }
    result.count = lines.size();
    return result;
}

QString ExportAddressTabDelimited(Store& store, const QString& path, qsizetype* count) {
    const TabExport data = AddressTabDelimited(store);
    const QString failure = exports::WriteExportFile(path, data.text);
    if (count != nullptr) {
        *count = failure.isEmpty() ? data.count : 0;
    }
    return failure;
}

QString TabExportNotice(const QString& path, qsizetype count) {
    return exports::ExportNotice(
        count == 1 ? QStringLiteral("1 contact was") : QStringLiteral("%1 contacts were").arg(count), path);
}

} // namespace contacts
