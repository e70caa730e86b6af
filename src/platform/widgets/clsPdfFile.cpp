// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/widgets/clsPdfFile.h"

#include "platform/system/modSystemError.h"

#include <QFileInfo>
#include <cerrno>

using namespace Qt::Literals::StringLiterals;

clsPdfFile::clsPdfFile(const QString& path) : QSaveFile(path)
{
    // A file that may be written, in a folder that may not.
    setDirectWriteFallback(true);
}

void clsPdfFile::Open()
{
    errno = 0;
    if (open(QIODevice::WriteOnly))
        return;
    const int code = errno;
    const QFileInfo target(fileName());
    if (target.exists())
        Fail(target.isDir() ? EISDIR : EACCES);
    Fail(code == ENOENT ? ENOTDIR : code); // what could have been made was not missing: its folder was
}

void clsPdfFile::Check() const
{
    if (m_failure != 0)
        Fail(m_failure);
}

void clsPdfFile::Commit()
{
    Check();
    errno = 0;
    if (!commit())
        Fail(m_failure != 0 ? m_failure : errno);
}

qint64 clsPdfFile::writeData(const char* data, qint64 size)
{
    errno = 0;
    const qint64 written = QSaveFile::writeData(data, size);
    if (written < size && m_failure == 0)
        m_failure = errno != 0 ? errno : EIO;
    return written;
}

void clsPdfFile::Fail(int code) const
{
    throw modSystemError::FromErrno(code != 0 ? code : EIO, u"Writing "_s + fileName(), u"Printer"_s);
}
