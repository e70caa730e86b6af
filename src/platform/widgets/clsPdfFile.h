// SPDX-License-Identifier: GPL-3.0-or-later
// The file that a PDF document is written to.
#pragma once

#include <QSaveFile>

/// Takes the place of an older file when it is committed, and tells why it could not be written.
class clsPdfFile final : public QSaveFile
{
public:
    explicit clsPdfFile(const QString& path);
    /// @throws clsError
    void Open();
    /// Raises what has gone wrong so far: whoever paints hears of no failure. @throws clsError
    void Check() const;
    /// @throws clsError
    void Commit();

protected:
    qint64 writeData(const char* data, qint64 size) override;

private:
    [[noreturn]] void Fail(int code) const;
    int m_failure = 0; ///< errno of the first write that failed
};
