#include "budget/statements/ofx_statement.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QTemporaryDir>

#include <libofx/libofx.h>

#include <cctype>
#include <cmath>
#include <mutex>

// libofx reads only from a named file, copies it to a file of its own in TMPDIR while it parses, prints what it
// finds unless told not to, and keeps its switches in globals. So each reading runs alone, in a private folder of
// memory-backed storage where there is one, with TMPDIR pointing into it, and every file it leaves there is
// overwritten and removed at once.
namespace budget::statements {

namespace {

// A transaction as it is written in the file: libofx turns the date into a time moved by time zones and the amount
// into floating point, so both are taken from the text.
struct WrittenTransaction {
    int line = 0;
    QString fitid;
    QString posted;
    QString amount;
    QString payeeName;
    bool closed = false; // its end tag is there: a file cut short may end inside it
    bool used = false;
};

// A transaction as libofx reports it.
struct ParsedTransaction {
    QString fitid;
    QString name;
    QString memo;
    QString number;
    double amount = 0;
    bool amountValid = false;
};

struct Parsed {
    QVector<ParsedTransaction> transactions;
};

QString DecodeEntities(QString text) {
    text.replace(QLatin1String("&lt;"), QLatin1String("<"));
    text.replace(QLatin1String("&gt;"), QLatin1String(">"));
    text.replace(QLatin1String("&quot;"), QLatin1String("\""));
    text.replace(QLatin1String("&apos;"), QLatin1String("'"));
    text.replace(QLatin1String("&nbsp;"), QLatin1String(" "));
    return text.replace(QLatin1String("&amp;"), QLatin1String("&"));
}

// The text of the first element `tag` in `block`: up to the next tag or the end of its line.
QString ElementText(QStringView block, QLatin1String tag) {
    const QString open = u'<' + tag + u'>';
    const qsizetype at = block.indexOf(open, 0, Qt::CaseInsensitive);
    if (at < 0) {
        return {};
    }
    const QStringView rest = block.mid(at + open.size());
    qsizetype end = rest.size();
    for (QChar stop : {u'<', u'\n', u'\r'}) {
        const qsizetype i = rest.indexOf(stop);
        end = i >= 0 ? std::min(end, i) : end;
    }
    return DecodeEntities(rest.left(end).trimmed().toString());
}

QVector<WrittenTransaction> ScanTransactions(const QString& text) {
    const QLatin1String open("<STMTTRN>");
    const QLatin1String close("</STMTTRN>");
    QVector<WrittenTransaction> written;
    int line = 1;
    qsizetype counted = 0;
    qsizetype at = text.indexOf(open, 0, Qt::CaseInsensitive);
    // The next end tag, looked for again only once passed, so that many open tags cost no more than one scan.
    qsizetype nextClose = -1;
    while (at >= 0 && written.size() <= kMaxRows) {
        line += static_cast<int>(QStringView(text).mid(counted, at - counted).count(u'\n'));
        counted = at;
        const qsizetype next = text.indexOf(open, at + open.size(), Qt::CaseInsensitive);
        if (nextClose != text.size() && nextClose < at) {
            nextClose = text.indexOf(close, at + open.size(), Qt::CaseInsensitive);
            nextClose = nextClose < 0 ? text.size() : nextClose;
        }
        const bool closed = nextClose < text.size() && (next < 0 || nextClose < next);
        const qsizetype end = closed ? nextClose : (next >= 0 ? next : text.size());
        const QStringView block = QStringView(text).mid(at, end - at);
        WrittenTransaction t;
        t.line = line;
        t.closed = closed;
        t.fitid = ElementText(block, QLatin1String("FITID"));
        t.posted = ElementText(block, QLatin1String("DTPOSTED"));
        t.amount = ElementText(block, QLatin1String("TRNAMT"));
        const qsizetype payee = block.indexOf(QLatin1String("<PAYEE>"), 0, Qt::CaseInsensitive);
        if (payee >= 0) {
            t.payeeName = ElementText(block.mid(payee), QLatin1String("NAME"));
        }
        written.append(t);
        at = next;
    }
    return written;
}

// How deep the file's elements may nest at most. Without the DTD a start tag may open an element that only an
// enclosing end tag closes, so each one counts until such an end tag comes; real statements stay far below the
// bound, and the parser behind libofx slows down beyond measure on files nested thousands deep.
constexpr int kMaxNesting = 256;

bool NestsTooDeep(const QByteArray& bytes) {
    QList<QByteArray> open;
    qsizetype at = bytes.indexOf('<');
    while (at >= 0) {
        const bool end = at + 1 < bytes.size() && bytes[at + 1] == '/';
        qsizetype i = at + (end ? 2 : 1);
        const qsizetype start = i;
        while (i < bytes.size() && (std::isalnum(static_cast<unsigned char>(bytes[i])) != 0 || bytes[i] == '.')) {
            ++i;
        }
        const QByteArray name = bytes.mid(start, i - start).toUpper();
        if (!name.isEmpty() && !end) {
            open.append(name);
            if (open.size() > kMaxNesting) {
                return true;
            }
        } else if (!name.isEmpty()) {
            const qsizetype match = open.lastIndexOf(name);
            if (match >= 0) {
                open.resize(match);
            }
        }
        at = bytes.indexOf('<', i);
    }
    return false;
}

QString LibofxText(const char* text, int valid) {
    if (valid == 0) {
        return {};
    }
    const QByteArray bytes(text);
    return DecodeText(bytes, DetectEncoding(bytes)).trimmed();
}

int OnTransaction(const OfxTransactionData data, void* user) {
    auto* parsed = static_cast<Parsed*>(user);
    // Trades, reinvestments and the like are no bank bookings; cash moved in or out of the account is.
    const bool investment = data.invtransactiontype_valid != 0 && data.invtransactiontype != OFX_INVBANKTRAN;
    if (investment || parsed->transactions.size() > kMaxRows) {
        return 0;
    }
    ParsedTransaction t;
    t.fitid = LibofxText(data.fi_id, data.fi_id_valid);
    t.name = LibofxText(data.name, data.name_valid);
    t.memo = LibofxText(data.memo, data.memo_valid);
    t.number = data.check_number_valid != 0 ? LibofxText(data.check_number, 1)
                                            : LibofxText(data.reference_number, data.reference_number_valid);
    t.amount = data.amount;
    t.amountValid = data.amount_valid != 0;
    parsed->transactions.append(t);
    return 0;
}

// Overwrites every file in `dir` with zeros and removes it.
void WipeFolder(const QString& dir) {
    for (const QFileInfo& info : QDir(dir).entryInfoList(QDir::Files | QDir::Hidden | QDir::System)) {
        QFile file(info.filePath());
        if (file.open(QIODevice::ReadWrite)) {
            const QByteArray zeros(64 * 1024, '\0');
            for (qint64 left = file.size(); left > 0; left -= zeros.size()) {
                file.write(zeros.constData(), std::min<qint64>(left, zeros.size()));
            }
            file.flush();
            file.close();
        }
        file.remove();
    }
}

// A folder for the statement's copy: in memory where the system offers it. libofx puts its own copy's path in a
// buffer of 256 bytes, so the folder's path is kept short.
QString PrivateBase() {
    for (const QString& base : {QStringLiteral("/dev/shm"), QDir::tempPath(), QStringLiteral("/tmp")}) {
        const QFileInfo info(base);
        if (info.isDir() && info.isWritable() && base.size() < 160) {
            return base;
        }
    }
    return {};
}

class TmpDirOverride {
public:
    explicit TmpDirOverride(const QString& path)
        : m_had(qEnvironmentVariableIsSet("TMPDIR"))
        , m_saved(qgetenv("TMPDIR")) {
        qputenv("TMPDIR", QFile::encodeName(path));
    }
    ~TmpDirOverride() {
        if (m_had) {
            qputenv("TMPDIR", m_saved);
        } else {
            qunsetenv("TMPDIR");
        }
    }
    TmpDirOverride(const TmpDirOverride&) = delete;
    TmpDirOverride& operator=(const TmpDirOverride&) = delete;

private:
    bool m_had;
    QByteArray m_saved;
};

// libofx's transactions of the file; false when no private folder could be made for it.
bool RunLibofx(const QByteArray& bytes, Parsed& parsed) {
    static std::mutex running;
    const std::lock_guard lock(running);
    const QString base = PrivateBase();
    if (base.isEmpty()) {
        return false;
    }
    QTemporaryDir dir(base + QStringLiteral("/nct-ofx-XXXXXX"));
    if (!dir.isValid()) {
        return false;
    }
    const QString path = dir.filePath(QStringLiteral("statement.ofx"));
    QFile file(path);
    const bool written =
        file.open(QIODevice::WriteOnly | QIODevice::NewOnly, QFileDevice::ReadOwner | QFileDevice::WriteOwner) &&
        file.write(bytes) == bytes.size();
    file.close();
    if (written) {
        const TmpDirOverride tmp(dir.path());
        ofx_PARSER_msg = ofx_DEBUG_msg = ofx_DEBUG1_msg = ofx_DEBUG2_msg = ofx_DEBUG3_msg = ofx_DEBUG4_msg =
            ofx_DEBUG5_msg = 0;
        ofx_STATUS_msg = ofx_INFO_msg = ofx_WARNING_msg = ofx_ERROR_msg = ofx_show_position = 0;
        LibofxContextPtr context = libofx_get_new_context();
        ofx_set_transaction_cb(context, OnTransaction, &parsed);
        libofx_proc_file(context, QFile::encodeName(path).constData(), OFX);
        libofx_free_context(context);
    }
    WipeFolder(dir.path());
    return written;
}

QDate PostedDate(const QString& posted) {
    if (posted.size() < 8) {
        return {};
    }
    for (int i = 0; i < 8; ++i) {
        if (posted[i] < u'0' || posted[i] > u'9') {
            return {};
        }
    }
    return QDate(posted.left(4).toInt(), posted.mid(4, 2).toInt(), posted.mid(6, 2).toInt());
}

// The written transactions by FITID, each list in file order: libofx reports them in that order, so the first one
// not yet taken is the one it read.
QHash<QString, QList<qsizetype>> ByFitid(const QVector<WrittenTransaction>& written) {
    QHash<QString, QList<qsizetype>> index;
    for (qsizetype i = 0; i < written.size(); ++i) {
        index[written[i].fitid].append(i);
    }
    return index;
}

std::optional<StatementRow> MakeRow(const ParsedTransaction& parsed, const WrittenTransaction& written,
                                    QString& reason) {
    StatementRow row;
    row.line = written.line;
    if (!written.closed) {
        reason = QStringLiteral("the transaction is not closed by </STMTTRN>; the file may be cut short");
        return std::nullopt;
    }
    row.date = PostedDate(written.posted);
    if (!row.date.isValid()) {
        reason = QStringLiteral("the date %1 is not an OFX date (YYYYMMDD)").arg(Quoted(written.posted));
        return std::nullopt;
    }
    // OFX allows a point or a comma for decimals and nothing for thousands.
    const QChar mark = written.amount.contains(u',') && !written.amount.contains(u'.') ? u',' : u'.';
    const std::optional<Currency> amount = ReadStatedAmount(written.amount, mark, &reason);
    if (!amount) {
        return std::nullopt;
    }
    // The text and libofx's reading of it must agree, or the two were not paired right.
    if (!parsed.amountValid ||
        std::fabs(amount->toDouble() - parsed.amount) > 0.00005 + std::fabs(parsed.amount) * 1e-12) {
        reason = QStringLiteral("the amount %1 does not agree with the OFX reader's").arg(Quoted(written.amount));
        return std::nullopt;
    }
    row.amount = *amount;
    row.partner = parsed.name.isEmpty() ? written.payeeName : parsed.name;
    row.note = parsed.memo;
    row.bankId = parsed.fitid;
    row.number = parsed.number;
    return row;
}

} // namespace

Statement ReadOfxStatement(const QByteArray& bytes) {
    Statement statement;
    if (bytes.size() > kMaxStatementBytes) {
        statement.refuse(0, QStringLiteral("the file is larger than a statement can be (%1 MiB)")
                                .arg(kMaxStatementBytes / (1024 * 1024)));
        return statement;
    }
    if (!bytes.contains("<OFX>") && !bytes.contains("<ofx>")) {
        statement.refuse(0, QStringLiteral("the file is no OFX statement: it has no <OFX> element"));
        return statement;
    }
    if (NestsTooDeep(bytes)) {
        statement.refuse(0, QStringLiteral("the file nests its elements deeper than an OFX statement does"));
        return statement;
    }
    QVector<WrittenTransaction> written = ScanTransactions(DecodeText(bytes, DetectEncoding(bytes)));
    Parsed parsed;
    if (!RunLibofx(bytes, parsed)) {
        statement.refuse(0, QStringLiteral("no private temporary folder could be made to read the file in"));
        return statement;
    }
    QHash<QString, QList<qsizetype>> untaken = ByFitid(written);
    for (const ParsedTransaction& t : parsed.transactions) {
        QList<qsizetype>& candidates = untaken[t.fitid];
        if (candidates.isEmpty()) {
            statement.refuse(0, QStringLiteral("the transaction %1 was read but is not found as written in the file")
                                    .arg(Quoted(t.fitid)));
            continue;
        }
        WrittenTransaction* w = &written[candidates.takeFirst()];
        w->used = true;
        if (!statement.roomForRow(w->line)) {
            break;
        }
        QString reason;
        if (std::optional<StatementRow> row = MakeRow(t, *w, reason)) {
            statement.rows.append(*row);
        } else {
            statement.refuse(w->line, reason);
        }
    }
    for (const WrittenTransaction& w : written) {
        if (!w.used && statement.rows.size() < kMaxRows) {
            statement.refuse(w.line, QStringLiteral("the transaction is not valid OFX and could not be read"));
        }
    }
    return statement;
}

} // namespace budget::statements
