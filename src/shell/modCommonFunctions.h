// SPDX-License-Identifier: GPL-3.0-or-later
// Small routines that windows and engines share.
#pragma once

#include "platform/clsDialogs.h"

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <chrono>
#include <functional>

namespace modCommonFunctions
{
/// The one entry for message boxes; the caption is the program's title unless another is given.
clsDialogs::Answer MsgBox(const QString& text, clsDialogs::Buttons buttons = clsDialogs::Buttons::OK,
                          clsDialogs::Icon icon = clsDialogs::Icon::None, const QString& caption = {});
/// May what the user was editing be left? Asks when something has `changed` since it was saved, and may `save` it.
/// @param save  whether it went well.
bool MayLeave(bool changed, const std::function<bool()>& save);

/// Loose on purpose: contains "@" and ".", anywhere.
bool IsEmailAddress(const QString& text);
/// Contains "http://" or "https://" anywhere, in any letter case.
bool HasWebPrefix(const QString& text);
/// The default when the value is Null, else the value.
QVariant NullToDefault(const QVariant& value, const QVariant& defaultValue);
/// The same for texts: Null becomes empty.
QString TextOf(const QVariant& value);
/// The first `size` characters, as fields count them; 0: all.
QString Leftmost(const QString& text, qsizetype size);
/// A file's name, without a folder, that every system takes: made of a record's name, say.
QString FileNameOf(const QString& text);
/// Line breaks as blanks.
QString OnOneLine(QString text);
/// Line breaks, alone or in a pair, as line feeds.
QString WithLineFeeds(QString text);
/// The same as CR LF, the line break of texts in the database.
QString WithCrLf(QString text);
/// True when a connection is up or could be dialled (then the dialled flag is set).
bool InternetConnection();
/// "1,023 bytes (1,023 bytes)", "1.0KB (1,024 bytes)"; megabytes from 1,048,000 on.
QString ByteSizeText(qint64 count);
/// Opens an address in the user's browser; tells the user when that fails.
void OpenWebBrowser(const QString& address);
/// Free bytes on a drive as text, or why they could not be found.
QString DiskSpaceText(const QString& drive);
/// Breaks at the last blank at or before `width` (the blank is dropped), a longer word hard at the width; line ends
/// become LF.
QString WrapText(const QString& text, int width);
/// Brings the copy that already runs to the front.
void ActivatePrevInstance();

/// "Monday, January 5, 2026", in English whatever the locale.
QString LongDate(const QDateTime& time);
/// A stretch of time: "1:05", "2:01:05".
QString DurationText(std::chrono::seconds duration);
/// "03:07 PM", two-digit hour of twelve.
QString MediumTime(const QDateTime& time);
/// Dates as they are stored: local time, yyyy-MM-dd HH:mm:ss.
QString StoredDateTime(const QDateTime& time);
/// Reads a stored date, date-only and ISO forms included; invalid when it is none.
QDateTime FromStoredDate(const QString& text);

/// 16-bit conversion of a text: half-way values round to even. @throws clsError TypeMismatch, Overflow
qint16 ToInt16(const QString& text);
/// The same for TCP ports, 0 to 65535.
quint16 ToPort(const QString& text);

/// Twips are 15 to a pixel, whatever the screen's scale.
inline constexpr int TwipsPerPixel = 15;
} // namespace modCommonFunctions
