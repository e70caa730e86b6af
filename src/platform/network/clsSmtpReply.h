// SPDX-License-Identifier: GPL-3.0-or-later
// Reads what a mail server answers (RFC 5321, 4.2), however long or odd it is.
#pragma once

#include <QByteArray>
#include <QString>

struct clsSmtpReply
{
    int code = 0;
    QString text; ///< code and lines, joined by blanks, without control characters, cut at a length for people
};

/// Collects one reply after the other.
class clsSmtpReplyReader
{
public:
    static constexpr qsizetype MostLine = 1000;                ///< bytes of a line that are kept
    static constexpr qsizetype MostText = 2000;                ///< characters of a reply that are kept
    static constexpr qsizetype MostReply = qsizetype{1} << 20; ///< bytes of a reply that are read

    enum class State
    {
        Incomplete,
        Line,     ///< a line has ended, the reply goes on
        Complete, ///< Reply() holds it; the next byte begins another one
        Garbled,  ///< no reply, or no end to it; nothing more is read
    };
    /// Reads up to the end of one line. @param bytes  what was read is taken off its front.
    State Read(QByteArray& bytes);
    [[nodiscard]] const clsSmtpReply& Reply() const { return m_reply; }
    /// The line that was read last, without its end.
    [[nodiscard]] const QByteArray& Line() const { return m_lastLine; }

private:
    State EndLine();

    QByteArray m_line;
    QByteArray m_lastLine;
    clsSmtpReply m_reply;
    qsizetype m_bytes = 0;
    bool m_new = true;
    bool m_garbled = false;
};
