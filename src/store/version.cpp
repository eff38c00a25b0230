#include "store/version.h"

#include "base/messages.h"
#include "program_version.h"
#include "store/record_put.h"
#include "store/row.h"

#include <QFile>

namespace version {
namespace {

constexpr int kVersionRow = 3;
constexpr int kMajorField = 17;
constexpr int kMinorField = 18;
constexpr int kRevisionField = 19;

QString TextOf(const VersionInfo& v, bool withRevision) {
    return db::VersionText(v.major, v.minor, withRevision ? v.revision : 0);
}

std::optional<std::int64_t> VersionRowKey(Store& store) {
    sqlite::Statement select = store.connection().prepare("SELECT fPK FROM tt WHERE fSec=1 AND fSub=? ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(kVersionRow));
    if (select.step()) {
        return select.int64(0);
    }
    return std::nullopt;
}

// Columns of the table that files of former releases may lack; adding one that exists fails and is ignored.
void AddMissingColumns(Store& store) {
    sqlite::Connection& db = store.connection();
    for (const char* statement :
         {"ALTER TABLE tt ADD COLUMN fR1 INTEGER DEFAULT 0", "ALTER TABLE tt ADD COLUMN fT4 BLOB",
          "ALTER TABLE tt ADD COLUMN fD1 REAL", "ALTER TABLE tt ADD COLUMN fD2 REAL DEFAULT 0",
          "ALTER TABLE tt ADD COLUMN fT5 BLOB"}) {
        db.exec(statement);
    }
}

sqlite::Error CopyCategoryToContacts(Store& store) {
    return store.connection().exec("UPDATE tt SET fT5=CAST(fG1 AS TEXT) WHERE fSec=11 AND fT5 IS NULL AND fG1>0");
}

} // namespace

VersionInfo ProgramVersion() {
    return VersionInfo{nct::kVersionMajor, nct::kVersionMinor, nct::kVersionRevision};
}

QByteArray VersionBlob(const VersionInfo& v) {
    return Record_Put::PutField(v.major, FieldType::Int16, kMajorField) +
           Record_Put::PutField(v.minor, FieldType::Int16, kMinorField) +
           Record_Put::PutField(v.revision, FieldType::Int16, kRevisionField);
}

int SaveVersionRecord(Store& store) {
    const QByteArray blob = VersionBlob(store.DbVersion);
    auto fill = [&](std::int64_t fpk, RowValues& row) {
        const QByteArray sealed = store.cry.Cipher(static_cast<std::int32_t>(fpk), 1, blob);
        row.set(Col::fEtx, sealed);
        FillNoise(row, store.random(), NoiseColumns{true, true, true, true, true, true, true});
        return !sealed.isEmpty();
    };
    sqlite::Error e;
    if (const std::optional<std::int64_t> key = VersionRowKey(store)) {
        e = ChangeRow(store.connection(), *key, [&](RowValues& row) {
            row.orAE(2);
            return fill(*key, row);
        });
    } else {
        AddNewRow(
            store.connection(),
            [&](std::int64_t fpk, RowValues& row) {
                row.set(Col::fSec, 1);
                row.set(Col::fSub, kVersionRow);
                row.set(Col::AE, 1);
                return fill(fpk, row);
            },
            &e);
    }
    return e.number;
}

int LoadVersionRecord(Store& store) {
    if (const std::optional<std::int64_t> key = VersionRowKey(store)) {
        const std::optional<Row> row = ReadRow(store.connection(), *key);
        const QByteArray plain =
            row ? store.cry.Cipher(static_cast<std::int32_t>(*key), 2, row->bytes(Col::fEtx)) : QByteArray();
        FieldValues values;
        if (Record_Get::GetRecord(values, plain) > kRevisionField) {
            store.DbVersion =
                VersionInfo{values[kMajorField].toInt(), values[kMinorField].toInt(), values[kRevisionField].toInt()};
            return 0;
        }
    }
    store.DbVersion = ProgramVersion();
    return SaveVersionRecord(store);
}

const std::vector<SchemaStep>& SchemaSteps() {
    // Files start at the schema of this release; a later schema change adds its entry here, e.g.
    // {QStringLiteral("002.006.0000"), [](Store& store) { return store.connection().exec("..."); }}.
    static const std::vector<SchemaStep> steps;
    return steps;
}

QString OldestSupportedSchema() {
    return db::VersionText(2, 4, 21);
}

bool SchemaSupported(sqlite::Connection& connection) {
    return db::ReadProperty(connection, QStringLiteral("NctVersion")) >= OldestSupportedSchema();
}

void TellSchemaUnsupported(Prompter& prompter) {
    prompter.message(0,
                     QStringLiteral("Databases created with older versions of Noctaria are not compatible with the "
                                    "new database structure.\nThis version cannot convert the file; it has been left "
                                    "as it was."),
                     Prompter::Buttons::Ok, Prompter::Icon::Critical);
}

int DbVersionUpdate(Store& store, const std::vector<SchemaStep>& steps) {
    const QString programV = TextOf(ProgramVersion(), false);
    const QString recordV = TextOf(store.DbVersion, false);
    if (programV < recordV) {
        store.prompter.message(94, MsgText(94), Prompter::Buttons::Ok, Prompter::Icon::Critical);
        return StoreError::Fatal;
    }
    sqlite::Connection& db = store.connection();
    const QString fileV = db::ReadProperty(db, QStringLiteral("NctVersion"));
    if (fileV < OldestSupportedSchema()) {
        TellSchemaUnsupported(store.prompter);
        return StoreError::Fatal;
    }
    const QString path = store.database.DbPath();
    store.database.hold().CopyTo(path + QStringLiteral(".bak"));

    AddMissingColumns(store);
    sqlite::Error e = CopyCategoryToContacts(store);
    for (auto step = steps.begin(); !e && step != steps.end(); ++step) {
        if (fileV < step->below) {
            sqlite::Savepoint transaction(db);
            e = transaction.begin();
            if (!e) {
                e = step->apply(store);
            }
            if (!e) {
                e = db::WriteProperty(db, QStringLiteral("NctVersion"), step->below);
            }
            if (!e) {
                e = transaction.release();
            }
        }
    }
    if (!e) {
        e = db::WriteProperty(db, QStringLiteral("NctVersion"), db::ProgramVersionText());
    }
    if (!e) {
        store.DbVersion = ProgramVersion();
        e.number = SaveVersionRecord(store);
    }
    if (e.number == sqlite::kErrLocked) {
        // A file that could not be written for a lock is not damaged; it stays as and where it is.
        return e.number;
    }
    if (e) {
        // The copy made above is the intact former file; the working file is set aside for inspection, still
        // held, so that nobody else takes it up meanwhile.
        db::FileHold hold = store.database.TakeHold();
        QFile::remove(path + QStringLiteral(".FFF"));
        QFile::rename(path, path + QStringLiteral(".FFF"));
        return StoreError::ConversionFailed;
    }
    return 0;
}

} // namespace version
