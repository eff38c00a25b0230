#include "app/cli/vector_check.h"

#include "budget/budget_lists.h"
#include "sections/categories/categories.h"
#include "store/byte_view.h"

#include "store/backup.h"
#include "store/codepage.h"
#include "store/conversion.h"
#include "store/cry.h"
#include "store/preferences.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "store/users.h"
#include "store/version.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <cstdlib>
#include <functional>

namespace {

QByteArray Hex(const QJsonValue& v) {
    return QByteArray::fromHex(v.toString().toLatin1());
}

QString HexText(const QByteArray& a) {
    return QString::fromLatin1(a.toHex());
}

double Float(const QJsonObject& o) {
    const QByteArray hex = o.value(QLatin1String("float_hex")).toString().toLatin1();
    return hex.isEmpty() ? o.value(QLatin1String("float")).toString().toDouble()
                         : std::strtod(hex.constData(), nullptr);
}

QVariant ValueOf(const QJsonValue& v) {
    if (v.isBool()) {
        return v.toBool();
    }
    if (v.isDouble()) {
        return QVariant::fromValue<qint64>(static_cast<qint64>(v.toDouble()));
    }
    if (v.isString()) {
        return v.toString();
    }
    const QJsonObject o = v.toObject();
    if (o.contains(QLatin1String("currency"))) {
        return QVariant::fromValue(
            Currency::FromText(o.value(QLatin1String("currency")).toString()).value_or(Currency{}));
    }
    if (o.contains(QLatin1String("float"))) {
        return Float(o);
    }
    if (o.contains(QLatin1String("date"))) {
        QDateTime d =
            QDateTime::fromString(o.value(QLatin1String("date")).toString(), QLatin1String("yyyy-MM-dd HH:mm:ss"));
        d.setTimeSpec(Qt::UTC);
        return d;
    }
    return {};
}

bool SameFloat(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

// Compares a value read by GetRecord with its expected JSON form; returns the difference, empty when equal.
QString CompareValue(const QVariant& got, const QJsonValue& expected) {
    if (expected.isNull()) {
        return got.isValid() ? QStringLiteral("expected an unset slot") : QString();
    }
    if (expected.isBool()) {
        return got.typeId() == QMetaType::Bool && got.toBool() == expected.toBool() ? QString()
                                                                                    : QStringLiteral("boolean");
    }
    if (expected.isDouble()) {
        return got.toLongLong() == static_cast<qint64>(expected.toDouble()) ? QString() : QStringLiteral("number");
    }
    const QJsonObject o = expected.toObject();
    if (o.contains(QLatin1String("hex"))) {
        const QByteArray bytes = got.typeId() == QMetaType::QString ? codepage::ToBytes(got.toString()) : QByteArray();
        return got.typeId() == QMetaType::QString && bytes == Hex(o.value(QLatin1String("hex")))
                   ? QString()
                   : QStringLiteral("text %1").arg(HexText(bytes));
    }
    if (o.contains(QLatin1String("float"))) {
        return SameFloat(got.toDouble(), Float(o)) ? QString()
                                                   : QStringLiteral("float %1").arg(got.toDouble(), 0, 'g', 17);
    }
    return QStringLiteral("unknown expectation");
}

class Checker {
public:
    explicit Checker(VectorReport& report)
        : m_report(report) {}

    // Runs one case; `check` returns the difference, or the empty text when the case holds.
    void run(const QString& name, const std::function<QString()>& check) {
        QString difference;
        try {
            difference = check();
        } catch (const std::exception& e) {
            difference = QStringLiteral("threw %1").arg(QString::fromLocal8Bit(e.what()));
        }
        if (difference.isEmpty()) {
            ++m_report.passed;
        } else {
            ++m_report.failed;
            m_report.failures << QStringLiteral("%1: %2").arg(name, difference);
        }
    }

private:
    VectorReport& m_report;
};

QString Expect(const QByteArray& got, const QByteArray& expected) {
    return got == expected ? QString() : QStringLiteral("expected %1, got %2").arg(HexText(expected), HexText(got));
}

CRY::SecureBytes Pool(const QJsonObject& root) {
    const QByteArray pool = Hex(root.value(QLatin1String("pool_hex")));
    return SecureCopy(pool);
}

} // namespace

VectorReport CheckVectorFile(const QString& path) {
    VectorReport report;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        report.error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return report;
    }
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (!doc.isObject()) {
        report.error = QStringLiteral("%1 is not a JSON object: %2").arg(path, parseError.errorString());
        return report;
    }
    const QJsonObject root = doc.object();
    Checker checker(report);
    auto cases = [&root](const char* key) { return root.value(QLatin1String(key)).toArray(); };
    auto label = [](const char* key, int i) { return QStringLiteral("%1[%2]").arg(QLatin1String(key)).arg(i); };

    int i = 0;
    for (const QJsonValue& v : cases("put_field")) {
        const QJsonObject c = v.toObject();
        checker.run(label("put_field", i++), [&] {
            const QByteArray item =
                Record_Put::PutField(ValueOf(c.value(QLatin1String("value"))),
                                     static_cast<std::uint8_t>(c.value(QLatin1String("type")).toInt()),
                                     c.value(QLatin1String("index")).toInt());
            return Expect(item, Hex(c.value(QLatin1String("item_hex"))));
        });
    }
    i = 0;
    for (const QJsonValue& v : cases("put_field_long_text")) {
        const QJsonObject c = v.toObject();
        checker.run(label("put_field_long_text", i++), [&] {
            const QString text(c.value(QLatin1String("count")).toInt(),
                               c.value(QLatin1String("char")).toString().at(0));
            const QByteArray item = Record_Put::PutField(text, FieldType::Text, 0);
            if (item.size() != c.value(QLatin1String("item_length")).toInt()) {
                return QStringLiteral("length %1").arg(item.size());
            }
            return Expect(item.left(5), Hex(c.value(QLatin1String("head_hex"))));
        });
    }
    i = 0;
    for (const QJsonValue& v : cases("get_record")) {
        const QJsonObject c = v.toObject();
        checker.run(label("get_record", i++), [&] {
            FieldValues values;
            const int count = Record_Get::GetRecord(values, Hex(c.value(QLatin1String("blob_hex"))),
                                                    c.value(QLatin1String("sequential")).toBool());
            const QJsonArray expected = c.value(QLatin1String("values")).toArray();
            if (count != c.value(QLatin1String("count")).toInt() || values.size() != expected.size()) {
                return QStringLiteral("count %1").arg(count);
            }
            for (int k = 0; k < expected.size(); ++k) {
                const QString d = CompareValue(values[k], expected[k]);
                if (!d.isEmpty()) {
                    return QStringLiteral("slot %1: %2").arg(k).arg(d);
                }
            }
            return QString();
        });
    }
    i = 0;
    for (const QJsonValue& v : cases("bytes_to_float_text")) {
        const QJsonObject c = v.toObject();
        checker.run(label("bytes_to_float_text", i++), [&] {
            const QByteArray bytes = Hex(c.value(QLatin1String("bytes_hex")));
            const double plain = CONVERSION::BytesToFloatText(bytes);
            const double tested = CONVERSION::TextToFloat(bytes);
            if (!SameFloat(plain, Float(c.value(QLatin1String("value")).toObject())) ||
                !SameFloat(tested, Float(c.value(QLatin1String("text_to_float")).toObject()))) {
                return QStringLiteral("got %1 and %2").arg(plain, 0, 'g', 17).arg(tested, 0, 'g', 17);
            }
            return QString();
        });
    }
    i = 0;
    for (const QJsonValue& v : cases("select_key")) {
        const QJsonObject c = v.toObject();
        checker.run(label("select_key", i++), [&] {
            CRY cry;
            cry.setKeyPool(Pool(root));
            cry.SelectKey(c.value(QLatin1String("selector")).toInt());
            const auto& key = cry.RecordKey();
            return Expect(QByteArray(reinterpret_cast<const char*>(key.data()), static_cast<qsizetype>(key.size())),
                          Hex(c.value(QLatin1String("key_hex"))));
        });
    }
    i = 0;
    for (const QJsonValue& v : cases("cipher")) {
        const QJsonObject c = v.toObject();
        checker.run(label("cipher", i++), [&] {
            ScriptedRandom random;
            const QByteArray iv = Hex(c.value(QLatin1String("iv_hex")));
            random.setVector(ByteData(iv), static_cast<std::size_t>(iv.size()));
            random.setSelector(static_cast<std::uint16_t>(c.value(QLatin1String("selector")).toInt()));
            random.setBlankCount(c.value(QLatin1String("blanks")).toInt());
            CRY cry(random);
            cry.setKeyPool(Pool(root));
            const int op = c.value(QLatin1String("op")).toInt();
            const auto fpk = static_cast<std::int32_t>(c.value(QLatin1String("fpk")).toInt());
            const QByteArray plain = Hex(c.value(QLatin1String("plain_hex")));
            const QByteArray sealed = cry.Cipher(fpk, op, plain);
            QString d = Expect(sealed, Hex(c.value(QLatin1String("cipher_hex"))));
            const QByteArray back = cry.Cipher(fpk, op == 1 ? 2 : 6, sealed);
            const QByteArray expectedBack =
                plain.isEmpty() ? QByteArray(c.value(QLatin1String("blanks")).toInt(), ' ') : plain;
            if (d.isEmpty() && back != expectedBack) {
                d = QStringLiteral("deciphers to %1").arg(HexText(back));
            }
            return d;
        });
    }
    i = 0;
    for (const QJsonValue& v : cases("seal")) {
        const QJsonObject c = v.toObject();
        checker.run(label("seal", i++), [&] {
            ScriptedRandom random;
            const QByteArray salt = Hex(c.value(QLatin1String("salt_hex")));
            random.setSalt(ByteData(salt), static_cast<std::size_t>(salt.size()));
            CRY cry(random);
            const QByteArray text = Hex(c.value(QLatin1String("text_hex")));
            const QByteArray pass = Hex(c.value(QLatin1String("pass_hex")));
            const QByteArray sealed = cry.Seal(text, pass);
            QString d = Expect(sealed, Hex(c.value(QLatin1String("sealed_hex"))));
            if (d.isEmpty() && CRY::Unseal(sealed, pass) != text) {
                d = QStringLiteral("does not unseal");
            }
            return d;
        });
    }
    i = 0;
    for (const QJsonValue& v : cases("hash")) {
        const QJsonObject c = v.toObject();
        checker.run(label("hash", i++), [&] {
            const QByteArray text = codepage::ToBytes(c.value(QLatin1String("text")).toString());
            QString d = Expect(CRY::Hash256x80(text), Hex(c.value(QLatin1String("hash256x80_hex"))));
            return d.isEmpty() ? Expect(CRY::Hash1x47(text), Hex(c.value(QLatin1String("hash1x47_hex")))) : d;
        });
    }
    i = 0;
    for (const QJsonValue& v : cases("verifier")) {
        const QJsonObject c = v.toObject();
        checker.run(label("verifier", i++), [&] {
            const QByteArray digest =
                CRY::Hash256x80(codepage::ToBytes(c.value(QLatin1String("passphrase")).toString()));
            QString d = Expect(digest, Hex(c.value(QLatin1String("pass_digest_hex"))));
            if (d.isEmpty()) {
                const QByteArray block =
                    CRY::RijndaelText(CRY::Hash1x47(CRY::Hash256x80(digest)), digest, true, 192, 256);
                d = Expect(block, Hex(c.value(QLatin1String("block_hex"))));
            }
            const QString pin =
                users::DefaultPin(CRY::Hash1x47(codepage::ToBytes(c.value(QLatin1String("passphrase")).toString())));
            if (d.isEmpty() && pin != c.value(QLatin1String("default_pin")).toString()) {
                d = QStringLiteral("default PIN %1").arg(pin);
            }
            return d;
        });
    }
    i = 0;
    for (const QJsonValue& v : cases("rijndael_text")) {
        const QJsonObject c = v.toObject();
        checker.run(label("rijndael_text", i++), [&] {
            const QByteArray text = Hex(c.value(QLatin1String("text_hex")));
            const QByteArray key = Hex(c.value(QLatin1String("key_hex")));
            const QByteArray block = CRY::RijndaelText(text, key, true, 192, 256);
            QString d = Expect(block, Hex(c.value(QLatin1String("cipher_hex"))));
            if (d.isEmpty() && CRY::RijndaelText(block, key, false, 192, 256) != text) {
                d = QStringLiteral("does not decipher back");
            }
            return d;
        });
    }

    if (root.contains(QLatin1String("backup"))) {
        const QJsonObject c = root.value(QLatin1String("backup")).toObject();
        checker.run(QStringLiteral("backup"), [&] {
            const QString path = c.value(QLatin1String("path")).toString();
            const QByteArray data = Hex(c.value(QLatin1String("data_hex")));
            const QByteArray file = ZLib::PackBackup(data, path);
            QString d = Expect(file, Hex(c.value(QLatin1String("file_hex"))));
            const ZLib::Unpacked back = ZLib::UnpackBackup(file);
            if (d.isEmpty() && (!back.ok || back.data != data || back.sourcePath != path)) {
                d = QStringLiteral("does not expand back");
            }
            const QString expectedName = c.value(QLatin1String("name")).toString();
            const backup::BackupNameParts parts = backup::ParseBackupName(expectedName);
            if (d.isEmpty() && (!parts.ok || backup::BackupName(path, parts.moment) != expectedName)) {
                d = QStringLiteral("name %1").arg(backup::BackupName(path, parts.moment));
            }
            return d;
        });
    }
    if (root.contains(QLatin1String("user"))) {
        const QJsonObject c = root.value(QLatin1String("user")).toObject();
        checker.run(QStringLiteral("user"), [&] {
            FieldValues options;
            Record_Get::GetRecord(options, Hex(c.value(QLatin1String("option_blob_hex"))));
            const UserOptions pin{0, options.value(1).toString(), 0, false};
            QString d = Expect(users::UserOptionsBlob(pin), Hex(c.value(QLatin1String("option_blob_hex"))));
            Preferences preferences = Preferences::Defaults();
            preferences.FirstDayOfWeek = 1;
            if (d.isEmpty()) {
                d = Expect(preferences.toBlob(), Hex(c.value(QLatin1String("preference_blob_hex"))));
            }
            if (d.isEmpty()) {
                d = Expect(version::VersionBlob(VersionInfo{2, 5, 17}),
                           Hex(c.value(QLatin1String("version_blob_hex"))));
            }
            return d;
        });
    }

    if (root.contains(QLatin1String("lists"))) {
        const QJsonObject c = root.value(QLatin1String("lists")).toObject();
        checker.run(QStringLiteral("lists"), [&] {
            constexpr std::int32_t kUser = 3;
            const QByteArray budgets = Hex(c.value(QLatin1String("budgets_hex")));
            const QByteArray modes = Hex(c.value(QLatin1String("paymodes_hex")));
            QString d = Expect(budget::BudgetListText(kUser, budget::DefaultBudgets()), budgets);
            if (d.isEmpty()) {
                d = Expect(budget::PayModesText(kUser, budget::DefaultPayModes()), modes);
            }
            if (d.isEmpty()) {
                d = Expect(
                    categories::CategoryPlainText(kUser, budget::kBudgetSection, QStringLiteral("Food;1;Rent;2")),
                    Hex(c.value(QLatin1String("category_hex"))));
            }
            const std::optional<budget::BudgetList> readBudgets = budget::ParseBudgetList(kUser, budgets);
            const std::optional<budget::PayModes> readModes = budget::ParsePayModes(kUser, modes);
            if (d.isEmpty() && (!readBudgets || readBudgets->names != budget::DefaultBudgets().names || !readModes ||
                                readModes->names != budget::DefaultPayModes().names)) {
                d = QStringLiteral("does not read back");
            }
            return d;
        });
    }

    // Formats of other parts of the program; each object or array entry counts as one case.
    for (const char* other : {"recurrence"}) {
        const QJsonValue v = root.value(QLatin1String(other));
        report.skipped += v.isArray() ? static_cast<int>(v.toArray().size()) : (v.isObject() ? 1 : 0);
    }
    return report;
}
