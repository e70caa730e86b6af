// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/modMailAddress.h"

#include <QUrl>
#include <algorithm>

namespace
{
QString AsciiDomain(const QString& domain)
{
    // A domain of ASCII goes as it is: it may hold what the rules for names forbid, an address literal for one.
    return modMailAddress::IsAscii(domain) ? domain : QString::fromLatin1(QUrl::toAce(domain));
}
} // namespace

bool modMailAddress::IsAscii(const QString& text)
{
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() < 0x80; });
}

bool modMailAddress::MayTravel(const QString& address)
{
    return !address.isEmpty() && std::none_of(address.cbegin(), address.cend(), [](QChar c) {
        return c.isSpace() || c.category() == QChar::Other_Control || c == u'<' || c == u'>';
    });
}

QString modMailAddress::WithAsciiDomain(const QString& address)
{
    const qsizetype at = address.lastIndexOf(u'@');
    if (at < 0)
        return address;
    const QString domain = AsciiDomain(address.mid(at + 1));
    return domain.isEmpty() ? QString() : address.left(at + 1) + domain;
}

QString modMailAddress::Domain(const QString& address)
{
    const qsizetype at = address.lastIndexOf(u'@');
    return at < 0 ? QString() : AsciiDomain(address.mid(at + 1));
}
