// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/main/frmBackupRestore.h"

#include "data/modDBFunctions.h"
#include "data/modDatedBackups.h"
#include "platform/clsDisk.h"
#include "platform/modHelpTopics.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/parts/modDialogParts.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFont>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modBrambury::State;
using modDBFunctions::Ending;

namespace
{
constexpr char Module[] = "frmBackupRestore";
constexpr QSize FirstSize(540, 520);

/// The folder itself, or what exists above it.
QString NearestFolder(const QString& path)
{
    QString folder = QDir::cleanPath(QDir(path).absolutePath()); // of an empty path too
    while (!Platform().Disk->FolderExists(folder) && !QDir(folder).isRoot())
        folder = QFileInfo(folder).path();
    return folder;
}

/// The headings of the list of dated backups.
const QStringList DatedColumns{u"Date"_s, u"Size"_s, u"Sites"_s, u"Links"_s};

/// "37.0KB", without the number of bytes behind it.
QString ShortSize(qint64 bytes)
{
    return modCommonFunctions::ByteSizeText(bytes).section(u" ("_s, 0, 0);
}

QLineEdit* PathBox(const QString& name)
{
    auto* box = new QLineEdit;
    box->setObjectName(name);
    return box;
}
} // namespace

frmBackupRestore::frmBackupRestore(QWidget* parent)
    : QDialog(parent), m_modes(new QButtonGroup(this)), m_form(new QFormLayout), m_dated(new QTreeWidget),
      m_keepDated(
          new QCheckBox(u"&Keep dated backups: the last ten, made at the program's end and before a restore"_s)),
      m_drive1(new QComboBox), m_dir1(new QListWidget), m_fromPath(PathBox(u"FromPath"_s)),
      m_toPath(PathBox(u"ToPath"_s)), m_lblBackup(new QLabel), m_progress(new QProgressBar),
      m_buttonBR(new QPushButton), m_close(new QPushButton)
{
    setObjectName(u"frmBackupRestore"_s);
    setWindowTitle(u"Backup/Restore Database"_s);

    auto* modes = new QHBoxLayout;
    modes->setSpacing(0);
    const QStringList captions{u"&Backup"_s, u"&Restore"_s};
    for (int mode = 0; mode < captions.size(); ++mode) {
        auto* button = new QPushButton(captions[mode]);
        button->setObjectName(u"SSRibbon1_%1"_s.arg(mode));
        button->setCheckable(true);
        button->setAutoDefault(false);
        m_modes->addButton(button, mode);
        modes->addWidget(button);
    }
    modes->addStretch();
    connect(m_modes, &QButtonGroup::idClicked, this, &frmBackupRestore::SetMode);

    m_dated->setObjectName(u"lstDated"_s);
    m_dated->setRootIsDecorated(false);
    m_dated->setHeaderLabels(DatedColumns);
    m_dated->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    m_dated->header()->setStretchLastSection(false);
    connect(m_dated, &QTreeWidget::itemSelectionChanged, this, [this] {
        // To choose a backup is to choose where it is restored from.
        if (const auto chosen = m_dated->selectedItems(); !chosen.isEmpty()) {
            ChosenPath().setText(chosen.first()->data(0, Qt::UserRole).toString());
            ShowFolder(ChosenPath().text());
        }
    });
    connect(m_dated, &QTreeWidget::itemActivated, this, [](QTreeWidgetItem* item) { item->setSelected(true); });
    m_keepDated->setObjectName(u"chkKeepDated"_s);
    m_keepDated->setChecked(modDatedBackups::AreKept());
    connect(m_keepDated, &QCheckBox::toggled, this,
            [](bool kept) { guarded(Module, "chkKeepDated_Click", [kept] { modDatedBackups::SetKept(kept); }); });
    m_drive1->setObjectName(u"Drive1"_s);
    m_drive1->addItems(Platform().Disk->Drives());
    connect(m_drive1, &QComboBox::textActivated, this, &frmBackupRestore::SetFolder);
    m_dir1->setObjectName(u"Dir1"_s);
    m_dir1->setAccessibleName(u"Folders"_s);
    connect(m_dir1, &QListWidget::itemActivated, this,
            [this](const QListWidgetItem* item) { SetFolder(item->data(Qt::UserRole).toString()); });
    for (QLineEdit* path : {m_fromPath, m_toPath})
        connect(path, &QLineEdit::textEdited, this, &frmBackupRestore::ShowFolder);
    m_lblBackup->setObjectName(u"lblBackup"_s);
    m_lblBackup->setTextFormat(Qt::PlainText);
    m_progress->setObjectName(u"progress"_s);
    m_progress->setAccessibleName(u"Progress"_s);

    m_form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    m_form->addRow(u"D&ated:"_s, m_dated);
    m_form->addRow(u"&Drive:"_s, m_drive1);
    m_form->addRow(u"F&olders:"_s, m_dir1);
    m_form->addRow(u"&From:"_s, m_fromPath);
    m_form->addRow(u"&To:"_s, m_toPath);
    m_form->addRow(QString(), m_lblBackup);
    m_form->addRow(QString(), m_keepDated);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_progress, 1);
    buttons->addStretch();
    auto* help = new QPushButton(u"&Help"_s);
    help->setObjectName(u"HelpButton"_s);
    m_buttonBR->setObjectName(u"buttonBR"_s);
    m_close->setObjectName(u"buttonClose"_s);
    for (QPushButton* button : {m_buttonBR, m_close, help}) {
        // Enter in the list goes into a folder, and in a path it ends typing: it must not copy anything.
        button->setAutoDefault(false);
        buttons->addWidget(button);
    }
    connect(m_buttonBR, &QPushButton::clicked, this, &frmBackupRestore::Start);
    connect(m_close, &QPushButton::clicked, this, &frmBackupRestore::reject);
    modDialogParts::GiveHelp(*this, modHelpTopics::BackupRestore, help);

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(16, 16, 16, 16);
    all->setSpacing(12);
    all->addLayout(modes);
    all->addLayout(m_form, 1);
    all->addLayout(buttons);
    resize(FirstSize);
    SetWorking(false);
    m_toPath->setText(modDBFunctions::DefaultBackupFolder());
    SetMode(Backup);
    m_dir1->setFocus();
}

void frmBackupRestore::SetMode(int mode)
{
    const QString folder = ChosenPath().text();
    m_mode = mode == Restore ? Restore : Backup;
    m_modes->button(m_mode)->setChecked(true);
    // On dark screens a pressed button alone is hardly seen.
    for (QAbstractButton* button : m_modes->buttons()) {
        QFont font = button->font();
        font.setBold(button->isChecked());
        button->setFont(font);
    }
    m_buttonBR->setText(m_mode == Backup ? u"&Start Backup"_s : u"&Start Restore"_s);
    QLineEdit& own = m_mode == Backup ? *m_fromPath : *m_toPath;
    own.setText(State().Settings.DataPath);
    own.setReadOnly(true);
    own.setFrame(false);
    ChosenPath().setReadOnly(false);
    ChosenPath().setFrame(true);
    ChosenPath().setText(folder);
    ListDated();
    ShowFolder(folder);
}

void frmBackupRestore::ListDated()
{
    m_dated->clear();
    for (const modDatedBackups::Backup& backup : modDatedBackups::All()) {
        auto* item = new QTreeWidgetItem(
            m_dated, {modCommonFunctions::LongDate(backup.made) + u"  "_s + modCommonFunctions::MediumTime(backup.made),
                      ShortSize(backup.size), QString::number(backup.sites), QString::number(backup.links)});
        item->setData(0, Qt::UserRole, backup.path);
        for (int column = 1; column < DatedColumns.size(); ++column)
            item->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
    }
    m_form->setRowVisible(m_dated, m_mode == Restore && m_dated->topLevelItemCount() > 0);
}

void frmBackupRestore::SetFolder(const QString& folder)
{
    ChosenPath().setText(QDir::toNativeSeparators(folder));
    ShowFolder(folder);
}

void frmBackupRestore::ShowFolder(const QString& folder)
{
    const QString shown = NearestFolder(folder);
    if (const auto chosen = m_dated->selectedItems();
        !chosen.isEmpty() && chosen.first()->data(0, Qt::UserRole).toString() != folder)
        m_dated->clearSelection();
    m_dir1->clear();
    const auto add = [this](const QString& name, const QString& path, const QIcon& picture) {
        auto* item = new QListWidgetItem(picture, name, m_dir1);
        item->setData(Qt::UserRole, path);
    };
    const QDir dir(shown);
    if (!dir.isRoot())
        add(u".."_s, QFileInfo(shown).path(), style()->standardIcon(QStyle::SP_FileDialogToParent));
    const QIcon picture = style()->standardIcon(QStyle::SP_DirIcon); // some milliseconds each time
    for (const QString& name : Platform().Disk->FolderNames(shown))
        add(name, dir.filePath(name), picture);
    m_dir1->setCurrentRow(0);

    const QSignalBlocker blocker(m_drive1);
    m_drive1->setCurrentIndex(m_drive1->findText(Platform().Disk->DriveOf(shown)));
    // A folder that is named by half is none.
    const QString backup = modDBFunctions::BackupAt(folder);
    QString known = u"There is no backup in this folder."_s;
    if (Platform().Disk->FileExists(backup))
        ignoringErrors([&] {
            const clsDisk::FileFacts facts = Platform().Disk->Facts(backup);
            known = u"Backup of %1  %2, %3"_s.arg(modCommonFunctions::LongDate(facts.changed),
                                                  modCommonFunctions::MediumTime(facts.changed), ShortSize(facts.size));
        });
    m_lblBackup->setText(known);
}

void frmBackupRestore::Start()
{
    if (m_working)
        return;
    m_stop = false;
    m_working = true; // before the first progress too the window must not go away
    Ending ending = Ending::Refused;
    const QString path = ChosenPath().text().trimmed();
    guarded(Module, "SSRibbon1_Click", [&] {
        const auto progress = [this](int percent) { return ShowProgress(percent); };
        ending = m_mode == Backup
                     ? modDBFunctions::BackupDatabase(path, progress)
                     : modDBFunctions::RestoreDatabase(modDBFunctions::BackupAt(path), progress, State().RepairReport);
    });
    SetWorking(false);
    m_completed = ending == Ending::Done;
    if (m_completed)
        return accept();
    if (ending == Ending::Failed || State().Terminating || State().SessionEnding)
        return QDialog::reject();
    ShowFolder(ChosenPath().text());
}

bool frmBackupRestore::ShowProgress(int percent)
{
    if (m_progress->isHidden())
        SetWorking(true);
    m_progress->setValue(percent);
    return !m_stop;
}

void frmBackupRestore::SetWorking(bool working)
{
    m_working = working;
    for (QAbstractButton* mode : m_modes->buttons())
        mode->setEnabled(!working);
    for (QWidget* control :
         std::initializer_list<QWidget*>{m_dated, m_drive1, m_dir1, m_fromPath, m_toPath, m_keepDated, m_buttonBR})
        control->setEnabled(!working);
    m_progress->setVisible(working);
    m_close->setText(working ? u"&Cancel"_s : u"&Close"_s);
}

void frmBackupRestore::reject()
{
    if (m_working)
        m_stop = true;
    else
        QDialog::reject();
}
