// SPDX-License-Identifier: GPL-3.0-or-later
// The one exception type of the program: every failure of a library below it arrives as this.
#pragma once

#include <QString>
#include <exception>

/// A failure with the number, description and source that the error report shows.
class clsError : public std::exception
{
public:
    /// The numbers that the program knows by name; others may occur.
    enum Number : qint32
    {
        Overflow = 6,      ///< a number leaves the 16-bit range
        TypeMismatch = 13, ///< a text that is no number, a value of another type
        FileNotFound = 53,
        DeviceIOError = 57,
        FileExists = 58,
        DiskFull = 61,
        DeviceUnavailable = 68,
        PermissionDenied = 70,
        PathNotFound = 76,
        ObjectNotSet = 91,
        InvalidNull = 94,
        EngineFailure = 3000, ///< a database failure without a number of its own
        NoCurrentRecord = 3021,
        DuplicateKey = 3022,
        DatabaseMissing = 3024,
        PasswordWrong = 3031, ///< wrong key, or no database at all: the two look alike
        DatabaseDamaged = 3049,
        WorkStopped = 3059,      ///< work on a whole database file was stopped
        RecordLocked = 3260,     ///< another user of the file held it longer than the busy time-out
        UnknownItem = 3265,      ///< no such table, stored query, field or parameter
        DatabaseClosed = 3420,   ///< an operation on a closed database
        DialogCancelled = 32755, ///< the user cancelled a file dialog
    };
    /// Errors of the internet components carry this base (0x80040000 as a signed number).
    static constexpr qint32 ComponentBase = static_cast<qint32>(0x80040000u);

    /// @param systemError  the operating system's last error code, 0 when it has no part in the failure.
    clsError(qint32 number, QString description, QString source, qint32 systemError = 0);

    [[nodiscard]] qint32 Number() const { return m_number; }
    [[nodiscard]] const QString& Description() const { return m_description; }
    [[nodiscard]] const QString& Source() const { return m_source; }
    [[nodiscard]] qint32 SystemError() const { return m_systemError; }
    [[nodiscard]] const char* what() const noexcept override { return m_what.constData(); }

private:
    qint32 m_number;
    QString m_description;
    QString m_source;
    qint32 m_systemError;
    QByteArray m_what;
};
