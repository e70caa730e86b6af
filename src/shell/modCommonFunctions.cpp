// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/modCommonFunctions.h"

#include "platform/clsBrowser.h"
#include "platform/clsConnection.h"
#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"

#include <QLocale>
#include <QStringView>
#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr char Module[] = "modCommonFunctions";
/// Megabytes begin here, a little before a full one, so that a size never reads as four digits of KB.
constexpr qint64 FirstMegabyte = 1'048'000;

/// "###,###,###": grouped by commas whatever the locale; a zero shows nothing.
QString Grouped(qint64 number)
{
    return number == 0 ? QString() : QLocale(QLocale::English, QLocale::UnitedStates).toString(number);
}

/// "#,###.0#" of count / unit, half a hundredth away from zero.
QString GroupedQuotient(qint64 count, qint64 unit)
{
    const qint64 hundredths = ((count % unit) * 100 + unit / 2) / unit;
    const qint64 whole = count / unit + hundredths / 100;
    const qint64 rest = hundredths % 100;
    QString text = Grouped(whole) + u"."_s + QString::number(rest / 10);
    if (rest % 10 != 0)
        text += QString::number(rest % 10);
    return text;
}

qint64 ToWholeNumber(const QString& text, qint64 least, qint64 greatest)
{
    const QString& source = modBrambury::ProgramTitle;
    bool converted = false;
    const double value = text.trimmed().toDouble(&converted);
    // "inf" and "nan" convert; a number too big for a double does not, but is a number all the same.
    if (converted ? !std::isfinite(value) : !std::isinf(value))
        throw clsError(clsError::TypeMismatch, u"Type mismatch"_s, source);
    const double rounded = std::nearbyint(value); // to even: the rounding mode that every process starts with
    if (rounded < static_cast<double>(least) || rounded > static_cast<double>(greatest))
        throw clsError(clsError::Overflow, u"Overflow"_s, source);
    return static_cast<qint64>(rounded);
}

/// Where the first line of `rest`, which is longer than `width`, ends and where the next one begins.
struct LineBreak
{
    qsizetype end;
    qsizetype next;
};

LineBreak FindBreak(QStringView rest, qsizetype width)
{
    if (const qsizetype blank = rest.first(width + 1).lastIndexOf(u' '); blank >= 0)
        return {blank, blank + 1};
    // Never between the two halves of a character outside the basic plane.
    const qsizetype cut = rest[width - 1].isHighSurrogate() ? width - 1 : width;
    return {cut, cut};
}
} // namespace

clsDialogs::Answer modCommonFunctions::MsgBox(const QString& text, clsDialogs::Buttons buttons, clsDialogs::Icon icon,
                                              const QString& caption)
{
    return modBrambury::Platform().Dialogs->MsgBox(text, buttons, icon,
                                                   caption.isEmpty() ? modBrambury::ProgramTitle : caption);
}

bool modCommonFunctions::MayLeave(bool changed, const std::function<bool()>& save)
{
    if (!changed)
        return true;
    switch (MsgBox(u"You have made changes without saving.  Do you wish to save them now?"_s,
                   clsDialogs::Buttons::YesNoCancel, clsDialogs::Icon::Question)) {
    case clsDialogs::Answer::Yes:
        return save();
    case clsDialogs::Answer::No:
        return true;
    default:
        return false;
    }
}

bool modCommonFunctions::IsEmailAddress(const QString& text)
{
    return text.contains(u'@') && text.contains(u'.');
}

bool modCommonFunctions::HasWebPrefix(const QString& text)
{
    return text.contains(u"http://"_s, Qt::CaseInsensitive) || text.contains(u"https://"_s, Qt::CaseInsensitive);
}

QVariant modCommonFunctions::NullToDefault(const QVariant& value, const QVariant& defaultValue)
{
    return value.isNull() ? defaultValue : value;
}

QString modCommonFunctions::TextOf(const QVariant& value)
{
    return NullToDefault(value, QString()).toString();
}

QString modCommonFunctions::Leftmost(const QString& text, qsizetype size)
{
    if (size <= 0 || text.size() <= size)
        return text;
    qsizetype end = 0;
    for (qsizetype count = 0; count < size && end < text.size(); ++count)
        end += text[end].isHighSurrogate() && end + 1 < text.size() && text[end + 1].isLowSurrogate() ? 2 : 1;
    return text.first(end);
}

QString modCommonFunctions::OnOneLine(QString text)
{
    return text.replace(u"\r\n"_s, u" "_s).replace(u'\r', u' ').replace(u'\n', u' ');
}

QString modCommonFunctions::WithLineFeeds(QString text)
{
    return text.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
}

QString modCommonFunctions::WithCrLf(QString text)
{
    return WithLineFeeds(std::move(text)).replace(u'\n', u"\r\n"_s);
}

QString modCommonFunctions::FileNameOf(const QString& text)
{
    QString name = text.simplified();
    for (QChar& letter : name) {
        if (letter.category() == QChar::Other_Control || u"\\/:*?\"<>|"_s.contains(letter))
            letter = u'-';
    }
    // A file that begins so is hidden.
    if (name.startsWith(u'.'))
        name[0] = u'-';
    return name;
}

bool modCommonFunctions::InternetConnection()
{
    bool connected = false;
    ignoringErrors([&] {
        clsConnection& connection = *modBrambury::Platform().Connection;
        connected = connection.Connected();
        if (!connected && connection.Dial())
            connected = modBrambury::State().Dialled = true;
    });
    return connected;
}

QString modCommonFunctions::ByteSizeText(qint64 count)
{
    const QString bytes = Grouped(count) + u" bytes"_s;
    if (count < 1024)
        return bytes + u" ("_s + bytes + u')';
    if (count < FirstMegabyte)
        return GroupedQuotient(count, 1024) + u"KB ("_s + bytes + u')';
    return GroupedQuotient(count, 1'048'576) + u"MB ("_s + bytes + u')';
}

void modCommonFunctions::OpenWebBrowser(const QString& address)
{
    guarded(Module, "OpenWebBrowser", [&] {
        switch (modBrambury::Platform().Browser->Open(address)) {
        case clsBrowser::Outcome::Opened:
            break;
        case clsBrowser::Outcome::NoBrowser:
            MsgBox(u"Could not find associated Browser"_s, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation,
                   u"Browser Not Found"_s);
            break;
        case clsBrowser::Outcome::Failed:
            MsgBox(u"Web Page not Opened"_s, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation, u"URL Failed"_s);
            break;
        }
    });
}

QString modCommonFunctions::DiskSpaceText(const QString& drive)
{
    QString text;
    if (!ignoringErrors([&] { text = QString::number(modBrambury::Platform().Disk->FreeBytes(drive)); })) {
        const bool hasLetter = drive.size() >= 2 && drive[1] == u':';
        text = u"Error determining disk space free for drive "_s + (hasLetter ? drive.first(1) : drive) + u':';
    }
    return text;
}

QString modCommonFunctions::WrapText(const QString& text, int width)
{
    const QString lines = WithLineFeeds(text);
    const qsizetype limit = std::max(width, 2); // room for one character outside the basic plane
    QString wrapped;
    wrapped.reserve(lines.size() + lines.size() / limit + 1);
    for (QStringView line : QStringView(lines).tokenize(u'\n')) {
        while (line.size() > limit) {
            const LineBreak at = FindBreak(line, limit);
            wrapped += line.first(at.end);
            wrapped += u'\n';
            line = line.sliced(at.next);
        }
        wrapped += line;
        wrapped += u'\n';
    }
    wrapped.chop(1);
    return wrapped;
}

void modCommonFunctions::ActivatePrevInstance()
{
    guarded(Module, "ActivatePrevInstance", [] { modBrambury::Platform().Instance->ActivatePrev(); });
}

QString modCommonFunctions::LongDate(const QDateTime& time)
{
    return QLocale::c().toString(time, u"dddd, MMMM d, yyyy"_s);
}

QString modCommonFunctions::DurationText(std::chrono::seconds duration)
{
    const auto count = duration.count();
    const QString minutes = u"%1:%2"_s.arg(count / 60 % 60).arg(count % 60, 2, 10, '0'_L1);
    return count < 3600 ? minutes : u"%1:%2"_s.arg(count / 3600).arg(minutes.rightJustified(5, u'0'));
}

QString modCommonFunctions::MediumTime(const QDateTime& time)
{
    return QLocale::c().toString(time, u"hh:mm AP"_s);
}

QString modCommonFunctions::StoredDateTime(const QDateTime& time)
{
    return QLocale::c().toString(time.toLocalTime(), u"yyyy-MM-dd HH:mm:ss"_s);
}

QDateTime modCommonFunctions::FromStoredDate(const QString& text)
{
    const QString stored = text.trimmed();
    const QDateTime time = QDateTime::fromString(stored, Qt::ISODate);
    return time.isValid() ? time.toLocalTime() : QDateTime();
}

qint16 modCommonFunctions::ToInt16(const QString& text)
{
    using Limits = std::numeric_limits<qint16>;
    return static_cast<qint16>(ToWholeNumber(text, Limits::min(), Limits::max()));
}

quint16 modCommonFunctions::ToPort(const QString& text)
{
    return static_cast<quint16>(ToWholeNumber(text, 0, std::numeric_limits<quint16>::max()));
}
