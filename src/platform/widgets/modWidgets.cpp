// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/widgets/modWidgets.h"

#include "platform/widgets/clsQtBrowser.h"
#include "platform/widgets/clsQtPrinter.h"
#include "platform/widgets/clsWidgetDialogs.h"

#include <QIcon>

std::unique_ptr<clsDialogs> modWidgets::MakeDialogs(std::function<QWidget*()> owner,
                                                    std::function<QIcon(clsDialogs::Icon)> pictures)
{
    return std::make_unique<clsWidgetDialogs>(std::move(owner), std::move(pictures));
}

std::unique_ptr<clsPrinter> modWidgets::MakePrinter(clsSettingsStore* settings, std::function<QWidget*()> owner)
{
    return std::make_unique<clsQtPrinter>(settings, std::move(owner));
}

std::unique_ptr<clsBrowser> modWidgets::MakeBrowser()
{
    return std::make_unique<clsQtBrowser>();
}

void modWidgets::CloseDialogs()
{
    clsWidgetDialogs::SetEnding(true);
}

void modWidgets::AllowDialogs()
{
    clsWidgetDialogs::SetEnding(false);
}
