// SPDX-License-Identifier: GPL-3.0-or-later
// The settings in one INI file, everything as text. What the format does to special names and values ends here.
#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "platform/clsSettingsStore.h"
#include "platform/modPlatformImpl.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QSettings>
#include <algorithm>
#include <filesystem>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Everything stands inside this group, because the format gives a group named "General" at the top another meaning.
const QString OuterGroup = QStringLiteral("Brambury");

/// A section or key as the library takes it: slashes of both kinds would make groups of it, and it may not be empty.
QString Encoded(QString name)
{
    if (name.isEmpty())
        return u"%"_s;
    return name.replace(u'%', u"%25"_s).replace(u'/', u"%2F"_s).replace(u'\\', u"%5C"_s);
}

QString Decoded(QString name)
{
    if (name == u"%"_s)
        return {};
    return name.replace(u"%5C"_s, u"\\"_s).replace(u"%2F"_s, u"/"_s).replace(u"%25"_s, u"%"_s);
}

QString GroupOf(const QString& section)
{
    return OuterGroup + u'/' + Encoded(section);
}

QString PathOf(const QString& section, const QString& key)
{
    return GroupOf(section) + u'/' + Encoded(key);
}

/// A value written by hand with commas and without quotes arrives as a list.
QString AsText(const QVariant& value)
{
    return value.typeId() == QMetaType::QStringList ? value.toStringList().join(u',') : value.toString();
}

class clsIniSettings final : public clsSettingsStore
{
public:
    explicit clsIniSettings(const QString& iniFile) : m_settings(iniFile, QSettings::IniFormat) {}

    QString GetSetting(const QString& section, const QString& key, const QString& defaultValue) const override
    {
        return AsText(m_settings.value(PathOf(section, key), defaultValue));
    }
    bool HasSetting(const QString& section, const QString& key) const override
    {
        return m_settings.contains(PathOf(section, key));
    }
    void SaveSetting(const QString& section, const QString& key, const QString& value) override
    {
        m_settings.setValue(PathOf(section, key), value);
        m_changed = true;
    }
    void DeleteSetting(const QString& section, const QString& key) override { Remove(PathOf(section, key)); }
    void DeleteSection(const QString& section) override { Remove(GroupOf(section)); }

    QStringList Sections() const override { return Children(OuterGroup, &QSettings::childGroups); }

    std::vector<QPair<QString, QString>> GetAllSettings(const QString& section) const override
    {
        std::vector<QPair<QString, QString>> all;
        const QStringList keys = Children(GroupOf(section), &QSettings::childKeys);
        for (const QString& key : keys)
            all.emplace_back(key, GetSetting(section, key, QString()));
        return all;
    }

    void Flush() override
    {
        // The library replaces the file without a look at whether the last bytes of the new one found room. So the old
        // one stays beside it until the new one is seen to be whole.
        const QString path = m_settings.fileName();
        const QString old = path + u".old"_s;
        const auto disk = modPlatformImpl::MakeDisk();
        const bool kept = m_changed && disk->FileExists(path);
        if (kept)
            disk->CopyFile(path, old);
        // As they are now: the library reads a file anew that is not what it believes to have written.
        QHash<QString, QVariant> values;
        for (const QString& key : m_settings.allKeys())
            values.insert(key, m_settings.value(key));
        // A QSettings keeps its first bad status for ever. Another one on the same file shares the unwritten changes
        // and starts afresh, so that a failure that is over does not count again.
        QSettings fresh(path, QSettings::IniFormat);
        fresh.sync();
        const bool written = fresh.status() != QSettings::AccessError;
        if (written && m_changed && !Holds(values.size())) {
            PutBack(kept ? old : QString(), values);
            throw NotWritten();
        }
        if (kept)
            QFile::remove(old);
        if (!written)
            throw NotWritten();
        m_changed = false;
    }

private:
    void Remove(const QString& path)
    {
        m_settings.remove(path);
        m_changed = true;
    }

    /// Whether so many values stand in the file: a line each, the last one ended.
    bool Holds(qsizetype values) const
    {
        QFile file(m_settings.fileName());
        const QByteArray text = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        const QByteArrayList lines = text.split('\n');
        const auto found =
            std::count_if(lines.cbegin(), lines.cend(), [](const QByteArray& line) { return line.contains('='); });
        return found >= values && lines.last().isEmpty();
    }

    /// Puts the old file (empty: none) in the place of half a one; the next Flush tries to write the values again.
    void PutBack(const QString& old, const QHash<QString, QVariant>& values)
    {
        const QString path = m_settings.fileName();
        std::error_code failure;
        if (old.isEmpty())
            QFile::remove(path);
        else
            std::filesystem::rename(old.toStdU16String(), path.toStdU16String(), failure);
        for (auto value = values.cbegin(); value != values.cend(); ++value)
            m_settings.setValue(value.key(), value.value());
    }

    /// The library does not say why it could not write.
    clsError NotWritten() const
    {
        const QFileInfo file(m_settings.fileName());
        QFileInfo place(file.path());
        while (!place.exists() && !place.isRoot())
            place = QFileInfo(place.path());
        const bool writable = place.isWritable() && (!file.exists() || file.isWritable());
        return {writable ? clsError::DiskFull : clsError::PermissionDenied,
                u"The settings cannot be written to "_s + QDir::toNativeSeparators(file.filePath()) + u'.',
                u"Settings"_s};
    }

    QStringList Children(const QString& group, QStringList (QSettings::*list)() const) const
    {
        m_settings.beginGroup(group);
        QStringList names = (m_settings.*list)();
        m_settings.endGroup();
        for (QString& name : names)
            name = Decoded(name);
        std::sort(names.begin(), names.end());
        return names;
    }

    mutable QSettings m_settings; ///< entering a group to list it is no change
    bool m_changed = false;       ///< since the last Flush that could write
};

/// Where the user's own settings stand.
QString UserFile()
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope, u"Brambury"_s, u"Brambury"_s).fileName();
}
} // namespace

std::unique_ptr<clsSettingsStore> modPlatformImpl::MakeSettingsStore(const QString& iniFile)
{
    return std::make_unique<clsIniSettings>(iniFile.isEmpty() ? UserFile() : iniFile);
}
