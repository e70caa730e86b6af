// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/modErrorHandler.h"

#include "platform/clsClock.h"
#include "platform/clsDisk.h"
#include "platform/clsWindows.h"
#include "shell/clsErrorHandler.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <QStringList>
#include <optional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// How serious a kind of error is.
struct Verdict
{
    ErrorAction action;
    clsWindows::ErrorIcon icon;
    enum class Window
    {
        Shown,
        Hidden,
        ShownWithoutLog
    } window;
};

Verdict Classify(qint32 number)
{
    switch (number) {
    case clsError::DatabaseMissing:
    case clsError::PasswordWrong:
        return {ErrorAction::Terminate, clsWindows::ErrorIcon::Critical, Verdict::Window::Shown};
    case clsError::DialogCancelled:
        return {ErrorAction::Continue, clsWindows::ErrorIcon::Critical, Verdict::Window::Hidden};
    case clsError::TypeMismatch:
    case clsError::PermissionDenied:
    case clsError::InvalidNull:
        return {ErrorAction::Continue, clsWindows::ErrorIcon::Critical, Verdict::Window::ShownWithoutLog};
    default:
        return {ErrorAction::Leave, clsWindows::ErrorIcon::Exclamation, Verdict::Window::Shown};
    }
}

QString DetailsText(const clsErrorHandler& error)
{
    return u"The following run-time error occured:\r\n"
           "Error Number: \t%1\r\n"_s.arg(error.Number) +
           u"Description: \t"_s + error.Description + u"\r\nSource:     \t"_s + error.Source + u"\r\nModule:     \t"_s +
           error.Module + u"\r\nSub/Func: \t"_s + error.Routine + u"\r\nLine Number: \t%1"_s.arg(error.LineNumber);
}

QString MessageText()
{
    return u"An error has occured in this application.\r\n\r\nIf this error persists, exit "_s +
           modBrambury::ProgramTitle +
           u" and restart the program.\r\nIf it still persists, please contact Technical Support Services."_s;
}

/// Components number their errors from a base of their own; the log shows the component's small number. Unsigned,
/// because the sum is meant to wrap.
qint32 WithoutComponentBase(qint32 number)
{
    return number < 0 ? static_cast<qint32>(static_cast<quint32>(number) + 0x7FFC0000u) : number;
}

QString ErrorLog()
{
    return modBrambury::FolderPath(u"\\Error.log"_s);
}

void AppendToErrorLog(const clsErrorHandler& error)
{
    const QStringList fields{modCommonFunctions::StoredDateTime(modBrambury::Platform().Clock->Now()),
                             QString::number(WithoutComponentBase(error.Number)),
                             error.Description,
                             error.Source,
                             error.Module,
                             error.Routine,
                             QString::number(error.LastSystemError),
                             QString::number(error.LineNumber)};
    QString line;
    for (const QString& field : fields) // one entry stays one line, whatever a library put into its description
        line += u'"' + modCommonFunctions::OnOneLine(field) + u"\","_s;
    modBrambury::Platform().Disk->AppendFile(ErrorLog(), (line + u"\r\n"_s).toUtf8());
}

void ShowErrorWindow(clsWindows::ErrorIcon icon)
{
    modBrambury::Platform().Windows->ShowError(icon, MessageText(), DetailsText(clsErrorHandler::Instance()));
}
} // namespace

ErrorAction modErrorHandler::ErrorHandler(const QString& module, const QString& routine, const clsError& error,
                                          qint32 lineNumber, bool quiet)
{
    clsErrorHandler& last = clsErrorHandler::Instance();
    last.Module = module;
    last.Routine = routine;
    last.Number = error.Number();
    last.Description = error.Description();
    last.Source = error.Source();
    last.LastSystemError = error.SystemError();
    last.LineNumber = lineNumber;
    if (error.Number() != clsError::DialogCancelled)
        ++last.Count;

    const bool logged = ignoringErrors([&] { AppendToErrorLog(last); });
    const Verdict verdict = Classify(error.Number());
    if (quiet)
        return verdict.action;
    if (verdict.window == Verdict::Window::Shown || (verdict.window == Verdict::Window::ShownWithoutLog && !logged))
        ignoringErrors([&] { ShowErrorWindow(verdict.icon); });
    else if (verdict.window == Verdict::Window::ShownWithoutLog && last.Hidden.isEmpty())
        last.Hidden = modCommonFunctions::OnOneLine(last.Description);
    return verdict.action;
}

void modErrorHandler::TellHiddenErrors()
{
    const QString hidden = std::exchange(clsErrorHandler::Instance().Hidden, {});
    if (hidden.isEmpty())
        return;
    modCommonFunctions::MsgBox(u"This did not go well:\r\n\r\n%1\r\n\r\nPlease remove the cause and try again.  Every "
                               u"error is recorded in %2."_s.arg(hidden, ErrorLog()),
                               clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
}

void modErrorHandler::ForgetHiddenErrors()
{
    clsErrorHandler::Instance().Hidden.clear();
}

clsError modErrorHandler::AsError(const std::exception& failure)
{
    if (const auto* error = dynamic_cast<const clsError*>(&failure))
        return *error;
    return {clsError::EngineFailure, QString::fromUtf8(failure.what()), modBrambury::ProgramTitle};
}

Guarded guarded(const char* module, const char* routine, const std::function<void()>& body)
{
    for (;;) {
        // The report may show a window and run its events; by then the exception must have been dealt with.
        const std::optional<clsError> error = failureOf(body);
        if (!error)
            return Guarded::Done;
        switch (modErrorHandler::ErrorHandler(QString::fromLatin1(module), QString::fromLatin1(routine), *error)) {
        case ErrorAction::Continue:
            return Guarded::Continued;
        case ErrorAction::Retry:
            break;
        case ErrorAction::Leave:
            return Guarded::Left;
        case ErrorAction::Terminate:
            modBrambury::AbortProgram();
            return Guarded::Left;
        }
    }
}

Guarded guardedAloud(const char* module, const char* routine, const std::function<void()>& body)
{
    modErrorHandler::ForgetHiddenErrors();
    const Guarded ended = guarded(module, routine, body);
    modErrorHandler::TellHiddenErrors();
    return ended;
}

std::optional<clsError> failureOf(const std::function<void()>& body)
{
    try {
        body();
        return std::nullopt;
    } catch (const std::exception& failure) {
        return modErrorHandler::AsError(failure);
    }
}

bool untilUnlocked(const std::function<void()>& body, const std::function<bool()>& again)
{
    for (;;) {
        try {
            body();
            return true;
        } catch (const clsError& error) {
            if (error.Number() != clsError::RecordLocked)
                throw;
        }
        if (!again())
            return false;
    }
}

bool ignoringErrors(const std::function<void()>& body)
{
    return !failureOf(body);
}
