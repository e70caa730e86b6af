// SPDX-License-Identifier: GPL-3.0-or-later
// The tip of the day.
#pragma once

#include <QDialog>
#include <vector>

class QCheckBox;
class QLabel;
class QPushButton;
class clsRecordset;

/// Begins with the day's own tip, so each day shows another and none is remembered; the buttons step through all.
class frmTips final : public QDialog
{
    Q_OBJECT

public:
    /// @param tips  rows of tblTips.  @param day  which tip is the first; any number.
    frmTips(const clsRecordset& tips, qint64 day, QWidget* parent = nullptr);

protected:
    void done(int result) override;

private:
    struct Tip
    {
        QString Header;
        QString Body;
        int HelpTopic = 0; ///< 0: none
    };
    void Step(qint64 by);
    void ShowTip();

    std::vector<Tip> m_tips;
    qint64 m_shown = 0;
    QLabel* m_header = nullptr;
    QLabel* m_body = nullptr;
    QPushButton* m_more = nullptr;
    QCheckBox* m_atStart = nullptr;
};
