// SPDX-License-Identifier: GPL-3.0-or-later
// The error report: every routine's trap ends here, and here alone.
#pragma once

#include "platform/clsError.h"

#include <QString>
#include <exception>
#include <functional>
#include <optional>

/// What the failing routine does after the report.
enum class ErrorAction : qint32
{
    Continue = 0, ///< go on with the statement after the one that failed
    Retry = 1,    ///< run the failed statement again (kept for the scheme; never returned today)
    Leave = 2,    ///< leave the routine at once
    Terminate = 3 ///< end the program through AbortProgram
};

namespace modErrorHandler
{
/// Records the error, appends it to Error.log, shows the error window when the user must see it, and says what the
/// failing routine does next. Its own failures are ignored.
/// @param lineNumber  inside the routine; 0 when it has none.  @param quiet  show no window.
ErrorAction ErrorHandler(const QString& module, const QString& routine, const clsError& error, qint32 lineNumber = 0,
                         bool quiet = false);

/// Some kinds of error go to Error.log alone. Whoever runs something that the user watches to its end tells of them
/// there, in one box: what happened first, and where the rest is to be read. Nothing is told twice, or of a cancelled
/// dialog.
void TellHiddenErrors();
/// Drops what has not been told: a new piece of work begins.
void ForgetHiddenErrors();

/// Makes a clsError of whatever exception is given: a foreign one becomes EngineFailure with its text.
clsError AsError(const std::exception& failure);
} // namespace modErrorHandler

/// How a guarded body ended.
enum class Guarded
{
    Done,      ///< it ran to its end
    Continued, ///< it failed, the report said: go on
    Left,      ///< it failed, the report said: leave (or end the program; AbortProgram has been called)
};

/// A routine's one error trap: runs `body`; a failure goes to ErrorHandler under the routine's name, and the action it
/// returns is carried out (Terminate calls AbortProgram).
Guarded guarded(const char* module, const char* routine, const std::function<void()>& body);

/// The same for what the user waits to see done: an error that Error.log alone would know of is told at the end.
Guarded guardedAloud(const char* module, const char* routine, const std::function<void()>& body);

/// For the few routines whose errors are of no interest: runs `body`, swallows a failure. @return whether it ran
/// through.
bool ignoringErrors(const std::function<void()>& body);

/// For the few routines that answer a failure themselves: runs `body`. @return its failure, none when it ran through.
std::optional<clsError> failureOf(const std::function<void()>& body);

/// For whoever cannot let the thread wait for another program's lock: runs `body`, and once more for as long as it
/// fails with RecordLocked and `again`, which waits in the event loop, returns true. Every other failure passes on.
/// @return whether it ran through.
bool untilUnlocked(const std::function<void()>& body, const std::function<bool()>& again);
