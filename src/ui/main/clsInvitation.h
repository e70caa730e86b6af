// SPDX-License-Identifier: GPL-3.0-or-later
// What stands in the place of the links as long as there is no site: how to begin.
#pragma once

#include <QWidget>

class QAbstractScrollArea;
class QLabel;
class QPushButton;

/// Lies over the contents of an empty list and follows its size. Three buttons, reached by Tab behind the list.
class clsInvitation final : public QWidget
{
    Q_OBJECT

public:
    explicit clsInvitation(QAbstractScrollArea& list);

Q_SIGNALS:
    void SiteWanted();
    void FirstStepsWanted();
    void SampleWanted();

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QPushButton* AddButton(const QString& caption, const QString& icon, const QString& tip,
                           void (clsInvitation::*wanted)());
    void CoverList();

    QAbstractScrollArea& m_list;
    QLabel* m_text;
};
