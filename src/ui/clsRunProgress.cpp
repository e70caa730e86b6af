// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/clsRunProgress.h"

#include "platform/clsClock.h"
#include "shell/modBrambury.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

clsRunProgress::clsRunProgress(QWidget* parent) : QWidget(parent)
{
    m_bar = new QProgressBar;
    m_bar->setObjectName(u"RunProgressBar"_s);
    m_bar->setAccessibleName(u"Progress of the run"_s);
    m_bar->setTextVisible(false);
    m_bar->setMinimumWidth(40);
    m_bar->setMaximumWidth(260);
    m_bar->setFixedHeight(10);
    m_label = new QLabel;
    m_label->setObjectName(u"lblRunProgress"_s);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_bar, 1);
    row->addWidget(m_label);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    policy.setRetainSizeWhenHidden(true);
    setSizePolicy(policy);
    hide();
    m_timer.setInterval(200ms);
    connect(&m_timer, &QTimer::timeout, this, &clsRunProgress::Refresh);
}

void clsRunProgress::Start()
{
    m_start = modBrambury::Platform().Clock->Monotonic();
    m_done = 0;
    m_total = 0;
    Refresh();
    m_timer.start();
    show();
}

void clsRunProgress::Stop()
{
    m_timer.stop();
    hide();
}

void clsRunProgress::Show(qint64 done, qint64 total)
{
    m_done = done;
    m_total = total;
}

QString clsRunProgress::Text(qint64 done, qint64 total, std::chrono::seconds elapsed)
{
    const auto count = elapsed.count();
    QString time = u"%1:%2"_s.arg(count / 60 % 60).arg(count % 60, 2, 10, '0'_L1);
    if (count >= 3600)
        time = u"%1:%2"_s.arg(count / 3600).arg(time.rightJustified(5, u'0'));
    return total > 0 ? u"%1 of %2, %3"_s.arg(done).arg(total).arg(time) : time;
}

void clsRunProgress::Refresh()
{
    // Without a total the bar only says that something is going on.
    const bool known = m_total > 0;
    m_bar->setMaximum(known ? 1000 : 0);
    if (known)
        m_bar->setValue(static_cast<int>(1000 * m_done / m_total));
    const auto elapsed = modBrambury::Platform().Clock->Monotonic() - m_start;
    m_label->setText(Text(m_done, m_total, std::chrono::duration_cast<std::chrono::seconds>(elapsed)));
}
