// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/network/clsSmtpReply.h"

#include <algorithm>
#include <utility>

namespace
{
/// What a server says is shown in logs and boxes: one line, nothing that a terminal would obey.
QString ForPeople(const QByteArray& bytes)
{
    QString text = QString::fromUtf8(bytes);
    for (QChar& c : text) {
        if (c.category() == QChar::Other_Control || c.category() == QChar::Other_Format)
            c = u' ';
    }
    return text.trimmed();
}
} // namespace

clsSmtpReplyReader::State clsSmtpReplyReader::Read(QByteArray& bytes)
{
    const qsizetype end = bytes.indexOf('\n');
    const qsizetype stop = end < 0 ? bytes.size() : end;
    m_line += bytes.left(std::min(stop, MostLine - m_line.size()));
    m_bytes += stop;
    bytes.remove(0, end < 0 ? stop : end + 1);
    State state = State::Incomplete;
    if (m_garbled || m_bytes > MostReply)
        state = State::Garbled;
    else if (end >= 0)
        state = EndLine();
    m_garbled = state == State::Garbled;
    return state;
}

clsSmtpReplyReader::State clsSmtpReplyReader::EndLine()
{
    m_lastLine = std::exchange(m_line, {});
    if (m_lastLine.endsWith('\r'))
        m_lastLine.chop(1);
    const QByteArray digits = m_lastLine.left(3);
    const char after = m_lastLine.size() > 3 ? m_lastLine[3] : ' ';
    const bool isReply =
        digits.size() == 3 && std::all_of(digits.cbegin(), digits.cend(), [](char c) { return c >= '0' && c <= '9'; });
    if (std::exchange(m_new, false))
        m_reply = {digits.toInt(), isReply ? QString::fromLatin1(digits) : ForPeople(m_lastLine)};
    if (!isReply || (after != ' ' && after != '-') || m_reply.code != digits.toInt() || m_reply.code < 200 ||
        m_reply.code > 599)
        return State::Garbled;
    if (m_reply.text.size() < MostText)
        m_reply.text = (m_reply.text + u' ' + ForPeople(m_lastLine.mid(4))).trimmed().left(MostText);
    if (after == '-')
        return State::Line;
    m_bytes = 0;
    m_new = true;
    return State::Complete;
}
