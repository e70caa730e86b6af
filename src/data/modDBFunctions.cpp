// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modDBFunctions.h"

#include "data/clsDAO.h"
#include "platform/clsDisk.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr qint16 TextType = 10;
constexpr qint16 AddressSize = 25;

modDBFunctions::Use s_lastUse = modDBFunctions::Use::Free;

void TellInUse()
{
    modCommonFunctions::MsgBox(u"The database is being backed up, restored, compacted or repaired by another copy of "
                               u"Brambury.  Please try again when that has ended."_s,
                               clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
}

/// @return whether the database is open; false without an error when somebody else needs the file to himself.
bool Open()
{
    modBrambury::ProcessState& state = modBrambury::State();
    state.DatabaseInUse = state.Platform.Disk->Lock(state.Settings.DataPath + u"Bramdat.use"_s, clsDisk::Share::Shared);
    if (!state.DatabaseInUse) {
        s_lastUse = modDBFunctions::Use::InUse;
        TellInUse();
        return false;
    }
    if (!state.Workspace)
        state.Workspace = state.Platform.DBEngine->CreateWorkspace(QString(), u"admin"_s, QString());
    clsDAO dao(state.Workspace.get());
    state.Database = dao.OpenDB(modBrambury::DatabasePath());
    if (!state.Database) {
        state.DatabaseInUse.reset();
        return false;
    }
    // Files made before sites and partners could have an IP address lack the field.
    dao.AddField(*state.Database, u"tblSites"_s, u"IPAddress"_s, TextType, AddressSize);
    dao.AddField(*state.Database, u"tblLinkList"_s, u"IPAddress"_s, TextType, AddressSize);
    return true;
}
} // namespace

bool modDBFunctions::OpenProcessDatabase()
{
    s_lastUse = Use::Free;
    bool open = false;
    guarded("modDBFunctions", "OpenProcessDatabase", [&] { open = Open(); });
    if (!open)
        return false;
    modBrambury::LoadStatusNames();
    modBrambury::LoadMessageTypes();
    return true;
}

modDBFunctions::Use modDBFunctions::LastUse()
{
    return s_lastUse;
}
