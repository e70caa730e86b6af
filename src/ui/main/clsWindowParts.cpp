// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/main/clsWindowParts.h"

#include "platform/clsBrowser.h"
#include "platform/clsDialogs.h"
#include "platform/clsPrinter.h"
#include "platform/parts/clsPlatformParts.h"
#include "platform/widgets/modWidgets.h"
#include "shell/modBrambury.h"
#include "ui/parts/modIcons.h"

#include <QApplication>

using namespace Qt::Literals::StringLiterals;

clsWindowParts::clsWindowParts(const clsPlatformParts& parts, clsDialogs* dialogs)
    : Windows([] { QCoreApplication::quit(); }),
      m_dialogs(modWidgets::MakeDialogs([this] { return Windows.DialogOwner(); }, &modIcons::BoxPicture)),
      m_printer(modWidgets::MakePrinter(parts.Bundle().Settings, [this] { return Windows.DialogOwner(); })),
      m_browser(modWidgets::MakeBrowser())
{
    // Boxes at the start and at the end have no window behind them, and are not the end of the program.
    QApplication::setQuitOnLastWindowClosed(false);
    // By this name the desktop finds the program's icon.
    QGuiApplication::setDesktopFileName(u"org.brambury.Brambury"_s);
    clsPlatform bundle = parts.Bundle();
    bundle.Dialogs = dialogs ? dialogs : m_dialogs.get();
    bundle.Printer = m_printer.get();
    bundle.Browser = m_browser.get();
    bundle.Windows = &Windows;
    modBrambury::State().Platform = bundle;
    modBrambury::SetProgramFolder(parts.ProgramFolder());
}

clsWindowParts::~clsWindowParts()
{
    modBrambury::State().Platform = {};
}
