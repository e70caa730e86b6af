// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/help/frmSystemInformation.h"

#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "platform/clsSpelling.h"
#include "platform/modPlatformImpl.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/parts/modDialogParts.h"

#include <QApplication>
#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QSysInfo>
#include <QTimer>
#include <QVBoxLayout>
#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int Letters = 76;
constexpr int Lines = 22;
constexpr int CopiedMs = 2000;
constexpr double Megabyte = 1024.0 * 1024.0;

QString InMegabytes(qint64 bytes)
{
    return u"%1 MB"_s.arg(static_cast<double>(bytes) / Megabyte, 0, 'f', 1);
}

/// Facts are wanted most where something is broken, so each is looked up on its own.
QString Try(const std::function<QString()>& lookUp)
{
    QString found = u"not to be had"_s;
    ignoringErrors([&] { found = lookUp(); });
    return found;
}

qint64 CountOf(const QString& table)
{
    return modBrambury::OpenDatabase().OpenRecordset(table)->RecordCount();
}

QStringList Screens()
{
    QStringList screens;
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QSize size = screen->geometry().size();
        screens << u"%1 x %2 at %3x"_s.arg(size.width()).arg(size.height()).arg(screen->devicePixelRatio());
    }
    return screens;
}
} // namespace

QString frmSystemInformation::Facts()
{
    const modBrambury::ProgramVersion version = modBrambury::Version();
    const clsPlatform& platform = modBrambury::Platform();
    QStringList facts;
    const auto add = [&](const QString& name, const QString& value) { facts << name + u": "_s + value; };
    add(modBrambury::ProgramTitle, u"%1, build %2"_s.arg(version.Number, version.Build));
    for (const auto& [name, number] : modPlatformImpl::Libraries())
        add(name, number);
    add(u"System"_s, QSysInfo::prettyProductName());
    add(u"Kernel"_s, QSysInfo::kernelType() + u' ' + QSysInfo::kernelVersion());
    add(u"Processor"_s, QSysInfo::currentCpuArchitecture());
    add(u"Language"_s, QLocale::system().name());
    add(u"Window system"_s, QGuiApplication::platformName());
    add(u"Style"_s, QApplication::style()->objectName());
    add(u"Screens"_s, Screens().join(u", "_s));
    add(u"Text size"_s, u"%1 points"_s.arg(QGuiApplication::font().pointSizeF()));
    add(u"Database"_s, Try([&] { return InMegabytes(platform.Disk->Facts(modBrambury::DatabasePath()).size); }));
    add(u"Free on its drive"_s,
        Try([&] { return InMegabytes(platform.Disk->FreeBytes(modBrambury::State().Settings.DataPath)); }));
    for (const auto& [name, table] : {std::pair(u"Sites"_s, u"tblSites"_s), std::pair(u"Links"_s, u"tblLinkList"_s),
                                      std::pair(u"Templates"_s, u"tblMailMessages"_s)})
        add(name, Try([&] { return QString::number(CountOf(table)); }));
    add(u"Spelling"_s, Try([&] {
            const QString reason = platform.Spelling ? platform.Spelling->Unavailable() : u"not there"_s;
            return reason.isEmpty() ? u"there"_s : reason;
        }));
    return facts.join(u'\n') + u'\n';
}

frmSystemInformation::frmSystemInformation(QWidget* parent) : QDialog(parent)
{
    setObjectName(u"frmSystemInformation"_s);
    setWindowTitle(u"System Information"_s);

    auto* text = new QPlainTextEdit(Facts());
    text->setObjectName(u"txtFacts"_s);
    text->setAccessibleName(u"System information"_s);
    text->setReadOnly(true);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    text->setTabChangesFocus(true);
    text->setMinimumSize(text->fontMetrics().averageCharWidth() * Letters / 2,
                         text->fontMetrics().lineSpacing() * Lines / 2);

    auto* buttons = new QHBoxLayout;
    QPushButton* copy = modDialogParts::AddButton(*buttons, u"&Copy"_s, u"buttonCopy"_s);
    copy->setAutoDefault(false);
    copy->setToolTip(u"Copy all of it, for a report of a fault"_s);
    connect(copy, &QPushButton::clicked, this, [text, copy] {
        QGuiApplication::clipboard()->setText(text->toPlainText());
        copy->setText(u"Copied"_s);
        QTimer::singleShot(CopiedMs, copy, [copy] { copy->setText(u"&Copy"_s); });
    });
    buttons->addStretch();
    QPushButton* close = modDialogParts::AddButton(*buttons, u"C&lose"_s, u"buttonClose"_s);
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);

    auto* all = new QVBoxLayout(this);
    all->addWidget(text, 1);
    all->addLayout(buttons);
    resize(text->fontMetrics().averageCharWidth() * Letters, text->fontMetrics().lineSpacing() * (Lines + 4));
    close->setFocus();
}
