#include "shell/ui/frm_restore.h"

#include "shell/ui/modal.h"

#include "base/messages.h"
#include "shell/catalogue/captions.h"
#include "shell/dates.h"
#include "shell/session.h"
#include "shell/settings.h"
#include "shell/ui/apply_captions.h"

#include <QDir>
#include <QFileInfo>
#include <QGridLayout>

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QStandardPaths>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>

namespace {

// Column widths as the list was laid out, in twips, at 15 twips a pixel.
constexpr int kColumnTwips[] = {1740, 2040, 1620};
constexpr int kTwipsPerPixel = 15;

template <typename Widget> Widget* Named(Widget* widget, const QString& name) {
    widget->setObjectName(name);
    return widget;
}

QString FolderOf(const QString& file) {
    return file.isEmpty() ? QString() : QFileInfo(QDir::fromNativeSeparators(file)).absolutePath();
}

bool IsFolder(const QString& folder) {
    return !folder.isEmpty() && QFileInfo(QDir::fromNativeSeparators(folder)).isDir();
}

QString MomentText(const QDateTime& moment) {
    return dates::ShortDate(moment.date()) + QLatin1Char(' ') + moment.time().toString(QStringLiteral("HH:mm:ss"));
}

} // namespace

frmRestore::frmRestore(Session& session, QWidget* parent)
    : QDialog(parent)
    , m_session(session) {
    setObjectName(QStringLiteral("frmRestore"));
    lvBackups = Named(new QTreeWidget(this), QStringLiteral("lvBackups"));
    lblBackupFolder = Named(new QLabel(this), QStringLiteral("lblBackupFolder"));
    txtBackupFolder = Named(new QLineEdit(this), QStringLiteral("txtBackupFolder"));
    lblRestoreTo = Named(new QLabel(this), QStringLiteral("lblRestoreTo"));
    txtRestoreTo = Named(new QLineEdit(this), QStringLiteral("txtRestoreTo"));
    for (int i = 0; i < 2; ++i) {
        cmdChangeDir[i] = Named(new QPushButton(this), ArrayElementName("cmdChangeDir", i));
    }
    cmdDelete = Named(new QPushButton(this), QStringLiteral("cmdDelete"));
    cmdRestore = Named(new QPushButton(this), QStringLiteral("cmdRestore"));
    cmdCancel = Named(new QPushButton(this), QStringLiteral("cmdCancel"));
    lblBackupFolder->setBuddy(txtBackupFolder);
    lblRestoreTo->setBuddy(txtRestoreTo);
    cmdRestore->setDefault(true);

    lvBackups->setHeaderLabels({QStringLiteral("Original Filename"), QStringLiteral("Backup Date/Time"),
                                QStringLiteral("Dimensions (kByte)")});
    lvBackups->setRootIsDecorated(false);
    lvBackups->setSelectionMode(QAbstractItemView::SingleSelection);
    lvBackups->setSortingEnabled(false);
    lvBackups->setContextMenuPolicy(Qt::NoContextMenu);
    QHeaderView* header = lvBackups->header();
    header->setStretchLastSection(false);
    header->setSectionsMovable(false);
    int listWidth = 0;
    // The columns keep their width, but never narrower than what they must show in the font in use.
    const QFontMetrics metrics(lvBackups->font());
    const QString widest[] = {QStringLiteral("Original Filename"),
                              MomentText(QDateTime(QDate(2028, 12, 28), QTime(23, 58, 58))),
                              QStringLiteral("Dimensions (kByte)")};
    for (int column = 0; column < 3; ++column) {
        header->setSectionResizeMode(column, QHeaderView::Fixed);
        const int width =
            std::max(kColumnTwips[column] / kTwipsPerPixel, metrics.horizontalAdvance(widest[column]) + 24);
        lvBackups->setColumnWidth(column, width);
        listWidth += width;
    }
    lvBackups->setMinimumWidth(listWidth + 2 * lvBackups->frameWidth() + 24);

    auto* folders = new QGridLayout;
    folders->addWidget(lblBackupFolder, 0, 0, 1, 2);
    folders->addWidget(txtBackupFolder, 1, 0);
    folders->addWidget(cmdChangeDir[0], 1, 1);
    folders->addWidget(lblRestoreTo, 2, 0, 1, 2);
    folders->addWidget(txtRestoreTo, 3, 0);
    folders->addWidget(cmdChangeDir[1], 3, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdDelete);
    buttons->addStretch(1);
    buttons->addWidget(cmdRestore);
    buttons->addWidget(cmdCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(folders);
    layout->addWidget(lvBackups, 1);
    layout->addLayout(buttons);

    ApplyCaptions(this);

    // The folders fall back on the database's: the one in hand, else the last one opened.
    const QString lastFile = RegReadValue(QStringLiteral("MostRecentFiles\\1"));
    QString databaseFolder = FolderOf(session.DbPath.isEmpty() ? lastFile : session.DbPath);
    if (databaseFolder.isEmpty()) {
        databaseFolder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    }
    QString backupFolder = RegReadValue(QStringLiteral("BackupPath"));
    if (!IsFolder(backupFolder)) {
        backupFolder = session.prompter.chooseFolder(MsgText(132), databaseFolder + QStringLiteral("/Backup"));
    }
    QString restoreTo = FolderOf(lastFile);
    if (!IsFolder(restoreTo)) {
        restoreTo = session.prompter.chooseFolder(MsgText(147), databaseFolder);
    }
    txtBackupFolder->setText(QDir::toNativeSeparators(backupFolder));
    txtRestoreTo->setText(QDir::toNativeSeparators(restoreTo));

    connect(txtBackupFolder, &QLineEdit::editingFinished, this, &frmRestore::ReloadList);
    connect(cmdChangeDir[0], &QPushButton::clicked, this, [this] { changeDir(0); });
    connect(cmdChangeDir[1], &QPushButton::clicked, this, [this] { changeDir(1); });
    connect(cmdDelete, &QPushButton::clicked, this, &frmRestore::deleteClicked);
    connect(cmdRestore, &QPushButton::clicked, this, &frmRestore::restoreClicked);
    connect(cmdCancel, &QPushButton::clicked, this, &frmRestore::reject);

    ReloadList();
}

void frmRestore::ReloadList() {
    lvBackups->clear();
    const QLocale locale;
    QTreeWidgetItem* last = nullptr;
    for (const backup_commands::BackupEntry& entry : backup_commands::ListBackups(txtBackupFolder->text())) {
        last =
            new QTreeWidgetItem(lvBackups, {entry.original, MomentText(entry.moment), locale.toString(entry.sizeKb)});
        last->setData(0, Qt::UserRole, entry.path);
        last->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
    }
    if (last != nullptr) {
        lvBackups->setCurrentItem(last);
        lvBackups->scrollToItem(last);
    }
}

void frmRestore::changeDir(int index) {
    QLineEdit* box = index == 0 ? txtBackupFolder : txtRestoreTo;
    const QString chosen = m_session.prompter.chooseFolder(MsgText(144), box->text());
    if (chosen.isEmpty()) {
        return;
    }
    box->setText(QDir::toNativeSeparators(chosen));
    if (index == 0) {
        ReloadList();
    }
}

QString frmRestore::selectedTag() const {
    const QList<QTreeWidgetItem*> selected = lvBackups->selectedItems();
    return selected.isEmpty() ? QString() : selected.first()->data(0, Qt::UserRole).toString();
}

void frmRestore::deleteClicked() {
    if (backup_commands::DeleteBackup(m_session, selectedTag())) {
        ReloadList();
    }
}

void frmRestore::restoreClicked() {
    using backup_commands::RestoreOutcome;
    const RestoreOutcome outcome = backup_commands::RestoreBackup(m_session, selectedTag(), txtRestoreTo->text());
    switch (outcome) {
    case RestoreOutcome::NoSelection:
    case RestoreOutcome::NotExpanded:
    case RestoreOutcome::Refused:
        // Nothing happened; another backup may be chosen.
        return;
    case RestoreOutcome::Cancelled:
        reject();
        return;
    case RestoreOutcome::Restored:
    case RestoreOutcome::Failed:
        m_restored = outcome == RestoreOutcome::Restored;
        accept();
        return;
    }
}

std::optional<backup_commands::AfterRestore> frmRestore::RunCommand(Session& session, QWidget* parent) {
    session.frame.CloseSections();
    const modal::Scoped<frmRestore> form(session, parent);
    if (form.exec() != QDialog::Accepted) {
        return std::nullopt;
    }
    return backup_commands::OfferRestoredFile(session);
}
