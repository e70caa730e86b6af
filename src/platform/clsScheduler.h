// SPDX-License-Identifier: GPL-3.0-or-later
// The system's own timed jobs.
#pragma once

#include <QString>
#include <QStringList>
#include <QTime>

/// Jobs of this user, known by a name of our choosing.
class clsScheduler
{
public:
    enum class Often
    {
        Daily,
        Weekly ///< on Mondays
    };
    struct Job
    {
        QString name; ///< letters, digits and dashes
        QString description;
        QStringList command; ///< a program by its full path, and its arguments
        /// More arguments, by which the command does nothing unless a time of the job has come since it ran last. For
        /// systems that make up for nothing: there the command is run every hour, and sees for itself.
        QStringList onlyIfDue;
        Often often = Often::Daily;
        QTime at; ///< hours and minutes, local time
    };

    virtual ~clsScheduler() = default;
    /// Enters the job, in the place of one of its name. @return who will run it, for people.
    /// @throws clsError DeviceUnavailable when the system runs no timed jobs for its users.
    virtual QString Enter(const Job& job) = 0;
    /// @return whether there was such a job. @throws clsError
    virtual bool Remove(const QString& name) = 0;
    /// When and by whom the job is run, for people; empty when there is none.
    [[nodiscard]] virtual QString Entered(const QString& name) = 0;
};
