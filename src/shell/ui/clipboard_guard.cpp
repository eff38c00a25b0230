#include "shell/ui/clipboard_guard.h"

#include "store/random_source.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace {

constexpr int kWipeAfterMs = 30000;
const QString kSecretHint = QStringLiteral("x-kde-passwordManagerHint");

// Whether the clipboard's content was put there by this program. A platform whose clipboard lives in the
// process alone holds nothing else.
bool OurContent(const QClipboard* clipboard) {
    const QString platform = QGuiApplication::platformName();
    return clipboard->ownsClipboard() || platform == QLatin1String("offscreen") || platform == QLatin1String("minimal");
}

} // namespace

ClipboardGuard::ClipboardGuard(QObject* parent)
    : QObject(parent) {
    timerClipboard.setObjectName(QStringLiteral("timerClipboard"));
    timerClipboard.setSingleShot(true);
    timerClipboard.setInterval(kWipeAfterMs);
    connect(&timerClipboard, &QTimer::timeout, this, &ClipboardGuard::WipeClipboard);
    connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this, &ClipboardGuard::clipboardChanged);
    // Armed from the start, so that whatever lies on the clipboard at start-up goes too.
    timerClipboard.start();
}

void ClipboardGuard::copy(const QString& text) {
    timerClipboard.stop();
    QClipboard* clipboard = QGuiApplication::clipboard();
    m_writing = true;
    clipboard->clear();
    auto* data = new QMimeData;
    data->setText(text);
    data->setData(kSecretHint, QByteArrayLiteral("secret"));
    clipboard->setMimeData(data);
    m_writing = false;
    timerClipboard.start();
}

void ClipboardGuard::clipboardChanged() {
    QClipboard* clipboard = QGuiApplication::clipboard();
    const QMimeData* data = clipboard->mimeData();
    if (m_writing || data == nullptr || !data->hasText() || data->hasFormat(kSecretHint) || !OurContent(clipboard)) {
        return;
    }
    // A copy made by a control on its own: the same content again, marked secret, and the 30 seconds start.
    auto* marked = new QMimeData;
    for (const QString& format : data->formats()) {
        marked->setData(format, data->data(format));
    }
    marked->setData(kSecretHint, QByteArrayLiteral("secret"));
    m_writing = true;
    clipboard->setMimeData(marked);
    m_writing = false;
    timerClipboard.start();
}

void ClipboardGuard::ArmClipboardTimer() {
    timerClipboard.start();
}

void ClipboardGuard::WipeClipboard() {
    QClipboard* clipboard = QGuiApplication::clipboard();
    const QMimeData* data = clipboard->mimeData();
    if (data != nullptr && data->hasText()) {
        const qsizetype n = data->text().size();
        QString noise(n, QChar());
        for (QChar& c : noise) {
            c = QChar(static_cast<char16_t>(u'!' + StrongRandom().below(94)));
        }
        m_writing = true;
        clipboard->setText(noise);
        clipboard->clear();
        m_writing = false;
    }
    timerClipboard.stop();
}
