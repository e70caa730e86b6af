// SPDX-License-Identifier: GPL-3.0-or-later
// A look at every message of the e-mail queue before any of them is sent.
#pragma once

#include "platform/clsPlatform.h"

#include <QString>
#include <functional>
#include <vector>

class clsDatabase;

namespace modMailCheck
{
/// Something that the user would want to put right first. What is wrong with a site or a template is told once, at the
/// first message that it concerns.
struct Finding
{
    QString Where; ///< the partner, the site or the template
    QString What;  ///< a sentence
};
struct Report
{
    qint64 Messages = 0; ///< looked at
    std::vector<Finding> Findings;
    bool Stopped = false;
};

/// Makes every message and sends none. @param progress  told after each message; false stops the check. May be empty.
/// @throws clsError
Report Check(clsDatabase& database, const clsPlatform& platform,
             const std::function<bool(qint64 done, qint64 total)>& progress = {});

/// Whether a message can be addressed so. Strict: it goes to a server, not into a field.
bool IsAddress(const QString& text);
} // namespace modMailCheck
