// SPDX-License-Identifier: GPL-3.0-or-later
// The splash window shown while the main window loads.
#pragma once

#include <QWidget>

/// Shows name, version and build; not modal.
class frmSplash : public QWidget
{
    Q_OBJECT

public:
    /// @param version  "1.0".  @param build  three digits, "012".
    frmSplash(const QString& version, const QString& build);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_version;
    QString m_build;
};
