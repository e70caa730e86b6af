// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/widgets/clsQtBrowser.h"

#include <QDesktopServices>
#include <QDir>
#include <QStandardPaths>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Only what a browser shows: any other scheme could start any program that has registered one.
bool allowed(const QUrl& url)
{
    if (!url.isValid())
        return false;
    if (url.isLocalFile())
        return url.host().isEmpty();
    return (url.scheme() == u"http"_s || url.scheme() == u"https"_s) && !url.host().isEmpty();
}

/// The desktop hands addresses to this launcher or to the program of this variable; a single browser that is installed
/// without either is found too, but then opening it succeeds.
bool launcherInstalled()
{
    return !QStandardPaths::findExecutable(u"xdg-open"_s).isEmpty() || qEnvironmentVariableIsSet("BROWSER");
}
} // namespace

clsBrowser::Outcome clsQtBrowser::Open(const QString& address)
{
    const QUrl url =
        QDir::isAbsolutePath(address) ? QUrl::fromLocalFile(address) : QUrl(address.trimmed(), QUrl::TolerantMode);
    if (!allowed(url))
        return Outcome::Failed;
    if (QDesktopServices::openUrl(url))
        return Outcome::Opened;
    return launcherInstalled() ? Outcome::Failed : Outcome::NoBrowser;
}
