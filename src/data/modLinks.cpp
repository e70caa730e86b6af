// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modLinks.h"

#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

using namespace Qt::Literals::StringLiterals;

namespace
{
const QString LinkTable = u"tblLinkList"_s;
} // namespace

qint64 modLinks::SetFields(clsDatabase& database, const std::vector<qint64>& ids, const clsFieldValues& values)
{
    return database.UpdateRecords(LinkTable, ids, values);
}

qint64 modLinks::Delete(clsDatabase& database, const std::vector<qint64>& ids)
{
    return database.DeleteRecords(LinkTable, ids);
}

bool modLinks::ConfirmDelete(const QString& title)
{
    if (!IsOn(modBrambury::State().Settings.ConfirmDelete))
        return true;
    return modCommonFunctions::MsgBox(u"This will permanently remove all selected reciprocal links.\r\n"
                                      "(Alternately, you may wish to change its status to inactive.)\r\n"
                                      "\r\n"
                                      "Do you wish to continue?"_s,
                                      clsDialogs::Buttons::YesNo, clsDialogs::Icon::Question,
                                      u"Delete Link \"%1\""_s.arg(title)) == clsDialogs::Answer::Yes;
}
