// SPDX-License-Identifier: GPL-3.0-or-later
// Database files of older versions: what they lack of the tables and fields of today.
#pragma once

class clsDAO;
class clsDatabase;

namespace modOlderFiles
{
/// Adds what an open database lacks. What cannot be added is reported, each by itself, and the rest is added all the
/// same.
void Complete(clsDAO& dao, clsDatabase& database);
} // namespace modOlderFiles
