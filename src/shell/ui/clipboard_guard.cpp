#include "shell/ui/clipboard_guard.h"

#include "store/random_source.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace {
constexpr int kWipeAfterMs = 30000;
} // namespace

ClipboardGuard::ClipboardGuard(QObject* parent)
    : QObject(parent) {
    timerClipboard.setObjectName(QStringLiteral("timerClipboard"));
    timerClipboard.setSingleShot(true);
    timerClipboard.setInterval(kWipeAfterMs);
    connect(&timerClipboard, &QTimer::timeout, this, &ClipboardGuard::WipeClipboard);
    // Armed from the start, so that whatever lies on the clipboard at start-up goes too.
    timerClipboard.start();
}

void ClipboardGuard::copy(const QString& text) {
    timerClipboard.stop();
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    auto* data = new QMimeData;
    data->setText(text);
    data->setData(QStringLiteral("x-kde-passwordManagerHint"), QByteArrayLiteral("secret"));
    clipboard->setMimeData(data);
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
        clipboard->setText(noise);
        clipboard->clear();
    }
    timerClipboard.stop();
}
