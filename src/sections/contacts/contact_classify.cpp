#include "sections/contacts/contact_classify.h"

#include <QStringView>

#include <algorithm>
#include <initializer_list>

namespace contacts {

namespace {

bool IsLetterOrDigit(QChar c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
}

bool IsDigit(QChar c) {
    return c >= u'0' && c <= u'9';
}

bool OnlyOf(const QString& text, QStringView others) {
    return std::all_of(text.begin(), text.end(), [&](QChar c) { return IsLetterOrDigit(c) || others.contains(c); });
}

bool HoldsAny(const QString& text, std::initializer_list<const char*> pairs) {
    return std::any_of(pairs.begin(), pairs.end(), [&](const char* p) { return text.contains(QLatin1String(p)); });
}

bool EndsAreLettersOrDigits(const QString& text) {
    return IsLetterOrDigit(text.front()) && IsLetterOrDigit(text.back());
}

bool EndsTheRun(QChar c) {
    return c.unicode() < 32 || c == u';' || c == u',';
}

} // namespace

PaneSelection SelectAndClassify(const QString& paneText, qsizetype start, qsizetype length) {
    start = std::clamp<qsizetype>(start, 0, paneText.size());
    length = std::clamp<qsizetype>(length, 0, paneText.size() - start);
    PaneSelection selection{NoText, start, length, paneText.mid(start, length)};
    if (length > 0) {
        QString& text = selection.text;
        if (text.endsWith(u'\n')) {
            text.chop(text.endsWith(QLatin1String("\r\n")) ? 2 : 1);
        }
        if (text.contains(u'\n') || text.contains(u'\r')) {
            selection.kind = SeveralLines;
            return selection;
        }
    } else {
        qsizetype from = start;
        while (from > 0 && !EndsTheRun(paneText[from - 1])) {
            --from;
        }
        qsizetype to = start;
        while (to < paneText.size() && !EndsTheRun(paneText[to])) {
            ++to;
        }
        while (from < to && paneText[from] == u' ') {
            ++from;
        }
        selection = {NoText, from, to - from, paneText.mid(from, to - from)};
    }
    const QString& text = selection.text;
    if (text.isEmpty()) {
        return selection;
    }
    if (IsMail(text)) {
        selection.kind = MailText;
    } else if (IsWeb(text)) {
        selection.kind = WebText;
    } else if (IsAlnumText(text)) {
        selection.kind = AlnumText;
    } else if (IsPhone(text) && !text.trimmed().startsWith(u'+')) {
        selection.kind = PhoneText;
    } else {
        selection.kind = OtherText;
    }
    return selection;
}

bool IsMail(const QString& text) {
    const QString t = text.trimmed();
    if (t.isEmpty() || !EndsAreLettersOrDigits(t) || !OnlyOf(t, u"-@._") || HoldsAny(t, {".@", "@@", "@.", ".."})) {
        return false;
    }
    const qsizetype at = t.indexOf(u'@');
    return at >= 0 && t.indexOf(u'.', at) > at;
}

bool IsWeb(const QString& text) {
    const QString t = text.trimmed();
    return !t.isEmpty() && t.startsWith(QLatin1String("www."), Qt::CaseInsensitive) && EndsAreLettersOrDigits(t) &&
           OnlyOf(t, u"_-./") && !HoldsAny(t, {"..", "-.", ".-", "--"}) && t.count(u'.') >= 2;
}

bool IsAlnumText(const QString& text) {
    const QString t = text.trimmed();
    return !t.isEmpty() && OnlyOf(t, u" ");
}

bool IsPhone(const QString& text) {
    const QString t = text.trimmed();
    if (t.isEmpty() || !(IsDigit(t.front()) || t.front() == u'+' || t.front() == u'(') || !IsDigit(t.back())) {
        return false;
    }
    const bool inner = std::all_of(t.begin() + 1, t.end(), [](QChar c) {
        return IsDigit(c) || c == u'/' || c == u' ' || c == u'-' || c == u'(' || c == u')';
    });
    // A dot never passes the character test, so of the doubled marks only "--" is left to refuse.
    if (!inner || t.contains(QLatin1String("--"))) {
        return false;
    }
    const qsizetype firstClose = t.indexOf(u')');
    return firstClose < 0 || firstClose > t.lastIndexOf(u'(');
}

QString StrippedCopy(const QString& text) {
    QString stripped = text;
    stripped.remove(u' ');
    return stripped;
}

} // namespace contacts
