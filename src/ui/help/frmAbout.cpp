// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/help/frmAbout.h"

#include "platform/modPlatformImpl.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"
#include "ui/help/frmSystemInformation.h"
#include "ui/parts/clsExplanation.h"
#include "ui/parts/modDialogParts.h"
#include "ui/parts/modIcons.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int PictureSide = 72;
constexpr int SeenLibraries = 8;
constexpr int LibraryLetters = 46;
constexpr double NameScale = 1.8;

QLabel* Line(const QString& text)
{
    auto* line = new QLabel(text);
    line->setTextFormat(Qt::PlainText);
    line->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return line;
}

QTreeWidget* Libraries()
{
    auto* list = new QTreeWidget;
    list->setObjectName(u"lstLibraries"_s);
    list->setAccessibleName(u"Libraries and their versions"_s);
    list->setHeaderLabels({u"Library"_s, u"Version"_s});
    list->setRootIsDecorated(false);
    for (const auto& [name, version] : modPlatformImpl::Libraries())
        new QTreeWidgetItem(list, {name, version});
    list->resizeColumnToContents(0);
    const QFontMetrics metrics = list->fontMetrics();
    list->setMinimumSize(metrics.averageCharWidth() * LibraryLetters, metrics.lineSpacing() * (SeenLibraries + 2));
    return list;
}
} // namespace

frmAbout::frmAbout(QWidget* parent) : QDialog(parent)
{
    setObjectName(u"frmAbout"_s);
    setWindowTitle(u"About "_s + modBrambury::ProgramTitle);

    auto* picture = new QLabel;
    picture->setPixmap(modIcons::Icon(u"brambury"_s).pixmap(QSize(PictureSide, PictureSide), devicePixelRatioF()));
    auto* name = Line(modBrambury::ProgramTitle);
    QFont big = name->font();
    big.setBold(true);
    big.setPointSizeF(big.pointSizeF() * NameScale);
    name->setFont(big);
    const modBrambury::ProgramVersion version = modBrambury::Version();
    auto* words = new QVBoxLayout;
    words->addWidget(name);
    words->addWidget(Line(u"Link exchange for webmasters"_s));
    auto* number = Line(u"Version %1, build %2"_s.arg(version.Number, version.Build));
    number->setObjectName(u"lblVersion"_s);
    words->addWidget(number);
    words->addWidget(Line(u"Copyright \u00A9 2026 the Brambury developers"_s));
    auto* head = new QHBoxLayout;
    head->setSpacing(16);
    head->addWidget(picture, 0, Qt::AlignTop);
    head->addLayout(words, 1);

    auto* licence =
        new clsExplanation(u"Free software: you may use, pass on and change it under the GNU General Public License, "
                           "version 3 or later. It comes without any warranty."_s);
    licence->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QTreeWidget* libraries = Libraries();

    auto* buttons = new QHBoxLayout;
    QPushButton* system = modDialogParts::AddButton(*buttons, u"&System Info..."_s, u"buttonSystemInfo"_s);
    system->setAutoDefault(false);
    connect(system, &QPushButton::clicked, this,
            [this] { guarded("frmAbout", "SystemInfo", [this] { frmSystemInformation(this).exec(); }); });
    buttons->addStretch();
    QPushButton* ok = modDialogParts::AddButton(*buttons, u"OK"_s, u"buttonOK"_s);
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(16, 16, 16, 16);
    all->setSpacing(12);
    all->addLayout(head);
    all->addWidget(licence);
    all->addWidget(modDialogParts::LabelFor(libraries, u"&It stands on:"_s));
    all->addWidget(libraries, 1);
    all->addLayout(buttons);
    ok->setFocus();
}
