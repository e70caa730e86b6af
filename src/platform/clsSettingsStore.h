// SPDX-License-Identifier: GPL-3.0-or-later
// The user's settings: (section, key) to text, under the application's name.
#pragma once

#include <QPair>
#include <QString>
#include <QStringList>
#include <vector>

/// Every value is a text; a missing key yields the caller's default.
class clsSettingsStore
{
public:
    virtual ~clsSettingsStore() = default;
    [[nodiscard]] virtual QString GetSetting(const QString& section, const QString& key,
                                             const QString& defaultValue = {}) const = 0;
    [[nodiscard]] virtual bool HasSetting(const QString& section, const QString& key) const = 0;
    virtual void SaveSetting(const QString& section, const QString& key, const QString& value) = 0;
    virtual void DeleteSetting(const QString& section, const QString& key) = 0;
    virtual void DeleteSection(const QString& section) = 0;
    [[nodiscard]] virtual QStringList Sections() const = 0;
    /// All (key, value) of a section, by key; an order that matters is a value of its own.
    [[nodiscard]] virtual std::vector<QPair<QString, QString>> GetAllSettings(const QString& section) const = 0;
    /// Writes what has changed. @throws clsError PermissionDenied or DiskFull when the store cannot be written.
    virtual void Flush() = 0;
};
