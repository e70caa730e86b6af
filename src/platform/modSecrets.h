// SPDX-License-Identifier: GPL-3.0-or-later
// What is done with passwords once they have served.
#pragma once

#include <QByteArray>
#include <QString>

namespace modSecrets
{
/// Writes over a secret and empties it. A copy that somebody else holds is his own to wipe.
inline void Wipe(QByteArray& secret)
{
    secret.fill('\0');
    secret.clear();
}
inline void Wipe(QString& secret)
{
    secret.fill(QChar());
    secret.clear();
}
} // namespace modSecrets
