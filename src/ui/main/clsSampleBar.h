// SPDX-License-Identifier: GPL-3.0-or-later
// Says that the sample is in the database, as long as it is, and how to be rid of it.
#pragma once

#include <QFrame>

class clsSampleBar final : public QFrame
{
    Q_OBJECT

public:
    clsSampleBar();

Q_SIGNALS:
    void RemoveWanted();
};
