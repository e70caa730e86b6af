// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/clsLinkRecord.h"

#include "data/clsDAO.h"
#include "data/modLinks.h"
#include "data/modSites.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr char Module[] = "clsLinkRecord";
const QString Source = u"clsLinkRecord"_s;

// In the order in which they are told.
constexpr std::array<std::pair<int, const char16_t*>, 8> Failures{{
    {512, u"An undetermined error was encountered while accessing the my link page"},
    {256, u"An undetermined error was encountered while accessing the reciprocal link page"},
    {128, u"Link page on reciprocal site was not found"},
    {64, u"Link page on my site was not found"},
    {32, u"Reciprocal image was missing on my site"},
    {16, u"Reciprocal link was missing on my site"},
    {8, u"My image was missing on the reciprocal site"},
    {4, u"My link was missing on the reciprocal site"},
}};

std::vector<clsRecordEditor::Field> LinkFields()
{
    using Kind = clsRecordEditor::Kind;
    return {{u"Title"_s, Kind::Text, u" Title"_s},
            {u"Description"_s, Kind::Text, {}},
            {u"HomePage"_s, Kind::Text, u" Home Page URL"_s},
            {u"LinkPage"_s, Kind::Text, {}},
            {u"ImageFile"_s, Kind::Text, {}},
            {u"FullName"_s, Kind::Text, {}},
            {u"Email"_s, Kind::Text, {}},
            {u"IPAddress"_s, Kind::Text, {}},
            {u"CategoryID"_s, Kind::Number, {}},
            {u"Status"_s, Kind::Number, {}},
            {u"EmailQueue"_s, Kind::Number, {}},
            {u"TestQueue"_s, Kind::Switch, {}},
            {u"Message"_s, Kind::Number, {}},
            {u"Comments"_s, Kind::Text, {}}};
}

/// The message of a first offer.
QVariant FirstOffer()
{
    for (const modBrambury::MessageType& type : modBrambury::State().MessageTypes) {
        if (type.Offer)
            return type.ID;
    }
    return {};
}

QHash<QString, QVariant> NewLink()
{
    return {{u"Status"_s, int{modDataModel::Offer}},
            {u"Offers"_s, 0},
            {u"EmailQueue"_s, 0},
            {u"TestQueue"_s, 0},
            {u"Message"_s, FirstOffer()}};
}
} // namespace

clsLinkRecord::clsLinkRecord(clsDatabase& database, QString siteID, bool testsMyLink)
    : clsRecordEditor(database, u"tblLinkList"_s, LinkFields()), m_siteID(std::move(siteID)), m_testsMyLink(testsMyLink)
{
}

bool clsLinkRecord::Open(qint64 linkID, modDataModel::StatusBounds bounds)
{
    bool open = false;
    guarded(Module, "Open", [&] {
        auto links = modLinks::Of(Database(), m_siteID, bounds);
        if (links->FindFirst(clsDAO::NumberCriteria(u"ID"_s, linkID)))
            open = Begin(std::move(links));
        else
            TellMissing();
    });
    return open;
}

bool clsLinkRecord::OpenNew(modDataModel::StatusBounds bounds)
{
    bool open = false;
    guarded(Module, "OpenNew", [&] {
        BeginNew(modLinks::Of(Database(), m_siteID, {.low = -1, .high = bounds.high}), NewLink());
        open = true;
    });
    return open;
}

bool clsLinkRecord::GoTo(qint64 linkID)
{
    bool shown = false;
    guarded(Module, "GoTo", [&] { shown = BeginAt(linkID); });
    return shown;
}

void clsLinkRecord::GoToNew()
{
    BeginNew(NewLink());
}

std::optional<clsRecordEditor::Refusal> clsLinkRecord::Check() const
{
    if (auto refusal = CheckAddresses())
        return refusal;
    if (auto refusal = CheckImageFile())
        return refusal;
    if (m_testsMyLink && Text(u"LinkPage"_s).isEmpty())
        return Refusal{u"Since you have chosen in the Test Rules to search for your link on reciprocal sites,\r\n"
                       "you must specify an address to the reciprocal site's link page."_s,
                       u"LinkPage"_s};
    const int status = Value(u"Status"_s).toInt();
    if (Value(u"Status"_s).isNull() || status < 0 || status >= modDataModel::StatusCount)
        return Refusal{u"Status is a number from 0 to %1."_s.arg(modDataModel::StatusCount - 1), u"Status"_s};
    return std::nullopt;
}

QHash<QString, QVariant> clsLinkRecord::OwnValues() const
{
    // A link stays with its site, also when another program has given that another name meanwhile.
    if (!IsNew())
        return {};
    if (!modSites::Find(*Database().OpenRecordset(u"tblSites"_s), m_siteID))
        throw clsError(clsError::NoCurrentRecord, u"There is no site %1."_s.arg(m_siteID), Source);
    // The mail run counts the offers from then on.
    return {{u"SiteName"_s, m_siteID}, {u"Offers"_s, 0}};
}

QString clsLinkRecord::ResultsText(int results)
{
    QStringList lines;
    for (const auto& [code, message] : Failures) {
        if ((results & code) != 0)
            lines << u"%1: %2"_s.arg(lines.size() + 1).arg(QString::fromUtf16(message));
    }
    return lines.join("\r\n"_L1);
}

QString clsLinkRecord::Stamped(const QString& comments, const QDateTime& now)
{
    const QString stamp =
        u"Entry;  %1 - %2:  "_s.arg(modCommonFunctions::LongDate(now), modCommonFunctions::MediumTime(now));
    return comments.isEmpty() ? stamp : comments + "\r\n"_L1 + stamp;
}
