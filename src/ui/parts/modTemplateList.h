// SPDX-License-Identifier: GPL-3.0-or-later
// Drop-down lists of message templates.
#pragma once

#include <QtGlobal>

class QComboBox;
class clsMailTemplate;

namespace modTemplateList
{
/// Fills a list with the templates of a type by name; an entry's data is its MessageID. A failure has been
/// reported, and leaves none. @param type  below 1: of all types, each of which is told beside the name when the list
/// is open.  @param emptyFirst  an empty entry comes first, whose data is Null.
void Fill(QComboBox& list, const clsMailTemplate& templates, qint16 type, bool emptyFirst);
} // namespace modTemplateList
