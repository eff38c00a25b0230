#include "app/cli/records.h"

#include "base/messages.h"
#include "shell/open_sequence.h"
#include "shell/section_table.h"
#include "store/codepage.h"
#include "store/currency.h"
#include "store/record_get.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

namespace cli {

QString SectionName(int section) {
    switch (section) {
    case 1:
        return QStringLiteral("key material and version");
    case 2:
        return QStringLiteral("users");
    case 5:
        return QStringLiteral("former payment modes");
    case 8:
        return QStringLiteral("payment modes");
    case 9:
        return QStringLiteral("user lists");
    case 10:
        return QStringLiteral("categories");
    default:
        if (const SectionInfo* info = sections::Find(section)) {
            return QLatin1String(info->records);
        }
        return QStringLiteral("unknown");
    }
}

int OpenForCommand(Session& session, const QString& path) {
    session.rememberFiles = false;
    session.DbPath = QFileInfo(path).absoluteFilePath();
    session.OpenAttempts = 2;
    return open_sequence::OpenDatabaseSequence(session);
}

QString ErrorText(int error) {
    if (error == StoreError::Fatal) {
        return {};
    }
    if (error < 0) {
        return MsgText(-error);
    }
    return QStringLiteral("error %1").arg(error);
}

namespace {

// Payment modes, per-user lists and categories are kept as plain texts with separators, not as fields.
bool HoldsPlainText(int section) {
    return section == 8 || section == 9 || section == 10;
}

} // namespace

void ForEachRecord(Store& store, int section, const std::function<void(const RecordView&)>& visit) {
    sqlite::Statement select =
        store.connection().prepare(section < 0 ? "SELECT fPK, fSec, fSub, fEtx, fT1 FROM tt ORDER BY fPK"
                                               : "SELECT fPK, fSec, fSub, fEtx, fT1 FROM tt WHERE fSec=? ORDER BY fPK");
    if (section >= 0) {
        select.bind(1, static_cast<std::int64_t>(section));
    }
    Record_Get::TitleAccess access = store.titleAccess();
    access.hidePrivate = false;
    while (select.step()) {
        RecordView record;
        record.fPK = select.int64(0);
        record.fSec = static_cast<int>(select.int64(1));
        record.fSub = static_cast<int>(select.int64(2));
        if (record.fSec == 2 || (record.fSec == 1 && record.fSub != 3)) {
            continue;
        }
        const auto fpk = static_cast<std::int32_t>(record.fPK);
        const QByteArray plain = store.cry.Cipher(fpk, 2, select.bytes(3));
        record.readable = !plain.isEmpty();
        if (!select.isNull(4)) {
            record.title = Record_Get::OpenTitle(store.cry, fpk, select.bytes(4), access);
        }
        if (HoldsPlainText(record.fSec)) {
            record.text = codepage::FromBytes(plain);
        } else {
            Record_Get::GetRecord(record.fields, plain);
        }
        visit(record);
    }
}

namespace {

QJsonValue JsonOf(const QVariant& v) {
    switch (v.typeId()) {
    case QMetaType::Bool:
        return v.toBool();
    case QMetaType::Int:
    case QMetaType::LongLong:
        return v.toLongLong();
    case QMetaType::Double:
        return v.toDouble();
    case QMetaType::QDateTime:
        return v.toDateTime().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss"));
    case QMetaType::QString:
        return v.toString();
    default:
        if (v.typeId() == qMetaTypeId<Currency>()) {
            return v.value<Currency>().toText();
        }
        return QJsonValue();
    }
}

} // namespace

QByteArray RecordJson(const RecordView& record) {
    QJsonObject object;
    object.insert(QStringLiteral("fPK"), static_cast<qint64>(record.fPK));
    object.insert(QStringLiteral("fSec"), record.fSec);
    object.insert(QStringLiteral("fSub"), record.fSub);
    if (!record.title.isEmpty()) {
        object.insert(QStringLiteral("title"), record.title);
    }
    if (!record.text.isNull()) {
        object.insert(QStringLiteral("text"), record.text);
    } else {
        QJsonObject fields;
        for (int i = 0; i < record.fields.size(); ++i) {
            if (record.fields[i].isValid()) {
                fields.insert(QString::number(i), JsonOf(record.fields[i]));
            }
        }
        object.insert(QStringLiteral("fields"), fields);
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace cli
