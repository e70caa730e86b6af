// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/modPlatformImpl.h"

#include <QCoreApplication>
#include <QDir>

using namespace Qt::Literals::StringLiterals;

QString modPlatformImpl::ShareFolder()
{
    // Beside the program first, so that a moved or a not yet installed tree serves itself.
    const QDir beside(QCoreApplication::applicationDirPath() + u"/../share/brambury"_s);
    return QDir::toNativeSeparators(beside.exists() ? beside.canonicalPath()
                                                    : QString::fromUtf8(BRAMBURY_SHARE_FOLDER));
}
