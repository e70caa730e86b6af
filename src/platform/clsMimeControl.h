// SPDX-License-Identifier: GPL-3.0-or-later
// The internet component that encodes what plain text cannot carry (RFC 2045 to 2047, RFC 2231).
#pragma once

#include <QString>

/// What the encoder reports.
class clsMimeEvents
{
public:
    virtual ~clsMimeEvents() = default;
    virtual void Complete() = 0;
    /// @param code  1 = no error.
    virtual void EncodeError(int code) = 0;
};

class clsMimeControl
{
public:
    virtual ~clsMimeControl() = default;
    virtual void SetEvents(clsMimeEvents* events) = 0;
    /// Encodes a file as one MIME part, part headers included, each line ended by CR LF. Complete or EncodeError
    /// follows out of the event loop. The part begins with its first header.
    virtual void Encode(const QString& inputFile, const QString& outputFile) = 0;

    /// A body as it travels.
    struct Text
    {
        QString charset;  ///< us-ascii or utf-8
        QString encoding; ///< Content-Transfer-Encoding; empty when none is needed
        QString text;     ///< ASCII alone, lines ended by CR LF
    };
    /// Plain ASCII with lines of up to 998 characters as it stands but for its line ends, everything else
    /// quoted-printable in UTF-8.
    [[nodiscard]] virtual Text EncodeText(const QString& text) const = 0;
    /// A header's text on one line: line breaks become blanks, what is not ASCII becomes encoded words (RFC 2047).
    [[nodiscard]] virtual QString EncodeHeader(const QString& text) const = 0;
    /// "Name <address>": the name quoted only where it must be, encoded where it is not ASCII.
    [[nodiscard]] virtual QString EncodeAddress(const QString& name, const QString& address) const = 0;
};
