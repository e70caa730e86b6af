// SPDX-License-Identifier: GPL-3.0-or-later
// Field tags: texts in a template that stand for a field of the site or of the link it is sent to.
#pragma once

#include <QString>
#include <QVariant>
#include <functional>

class clsEventLoop;
class clsRecordset;

namespace modFieldTags
{
/// Supplies the value that a tag stands for. @throws clsError UnknownItem when there is no such field.
using FieldValue = std::function<QVariant(const QString& table, const QString& field)>;

/// How often one tag may be replaced in a text, and how many characters a text may grow to.
inline constexpr int MostReplacements = 10'000;
inline constexpr qsizetype LongestText = 4 * 1024 * 1024;
/// Number of the error that tells of a text beyond one of these.
inline constexpr qint32 TextTooLong = 14;

/// Replaces in `text` every tag of the list by its value, in any letter case. The list's order counts: a value may hold
/// tags of later rows, which are replaced in their turn, but not of earlier ones. An empty tag is passed over, what is
/// no tag stays. The value is fetched for every occurrence. Lets pending events run now and then. Waits for nothing.
/// @param tags  records of tblTagList.  @param stopped  asked while the work goes on.
/// @return the expanded text, which is left in `text` too. After an exception `text` is as it was.
/// @throws clsError TextTooLong when a limit is passed, as by a value that holds its own tag; WorkStopped when
/// `stopped` says so, so that nothing half done is sent: the caller knows that the user wanted it, and reports nothing.
/// And whatever `fieldValue` throws.
QString AddTags(QString& text, const clsRecordset& tags, const FieldValue& fieldValue, clsEventLoop& eventLoop,
                const std::function<bool()>& stopped);

/// A field of the current record with its type, which the database keeps for numbers and texts alone: truth values and
/// dates are such. @throws clsError UnknownItem, NoCurrentRecord
QVariant ValueOf(const clsRecordset& record, const QString& field);
/// A value as it stands in a message: Null empty, truth values "True" and "False", dates "1/5/2026 3:07:09 PM".
QString TextOf(const QVariant& value);

/// How a tag is put into a text that is being written.
struct Insertion
{
    qsizetype from; ///< the letters from here ...
    qsizetype to;   ///< ... to before here give way
    QString text;   ///< to this; the caret comes to stand behind it
};
/// The blanks around the place give way to one on either side; at the very start of the text, and of a line, there is
/// none before the tag. Line ends stay.
/// @param text  with line feeds for line ends.  @param from, to  the caret, or the selection, which gives way.
Insertion Insert(const QString& text, qsizetype from, qsizetype to, const QString& tag);
} // namespace modFieldTags
