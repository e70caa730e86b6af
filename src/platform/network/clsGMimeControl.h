// SPDX-License-Identifier: GPL-3.0-or-later
// The internet component that encodes files and texts for mail, on GMime.
#pragma once

#include "platform/clsMimeControl.h"
#include "platform/system/clsWorker.h"

/// Files are encoded on a thread of its own, piece by piece.
class clsGMimeControl final : public clsMimeControl
{
public:
    clsGMimeControl();
    void SetEvents(clsMimeEvents* events) override { m_events = events; }
    void Encode(const QString& inputFile, const QString& outputFile) override;
    [[nodiscard]] Text EncodeText(const QString& text) const override;
    [[nodiscard]] QString EncodeHeader(const QString& text) const override;
    [[nodiscard]] QString EncodeAddress(const QString& name, const QString& address) const override;

private:
    clsMimeEvents* m_events = nullptr;
    clsWorker::Ticket m_encoding;
    clsWorker m_worker; ///< last: it ends first
};
