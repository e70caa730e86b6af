// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modMessageTypes.h"

#include "platform/clsDatabase.h"
#include "shell/modCommonFunctions.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using modBrambury::MessageType;

namespace
{
const QString TypeTable = u"tblMailType"_s;
const QString TitleField = u"MessageType"_s;
const QString OfferField = u"Offer"_s;
} // namespace

bool modMessageTypes::Check(const std::vector<MessageType>& types)
{
    if (std::any_of(types.begin(), types.end(), [](const MessageType& type) { return type.Offer; }))
        return true;
    modCommonFunctions::MsgBox(u"You must have at least one message type that is an Offer.\r\n"
                               "Select the Message Types tab and check the appropriate type\r\n"
                               "that will be used as the initial offer of reciprocal linking."_s,
                               clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
    return false;
}

void modMessageTypes::Write(clsDatabase& database, const std::vector<MessageType>& types)
{
    clsTransaction transaction(database);
    const auto records = database.OpenRecordset(TypeTable);
    for (const MessageType& type : types) {
        if (records->AfterLast())
            break;
        const QString title = type.Title.isEmpty() ? u"User Defined"_s : type.Title;
        const bool offer = records->Field(OfferField).toInt() != 0;
        // What stays as it is needs no write, which another program's lock could refuse.
        if (title != modCommonFunctions::TextOf(records->Field(TitleField)) || type.Offer != offer) {
            records->Edit();
            records->SetField(TitleField, title);
            records->SetField(OfferField, type.Offer ? 1 : 0);
            records->Update();
        }
        records->MoveNext();
    }
    transaction.Commit();
}
